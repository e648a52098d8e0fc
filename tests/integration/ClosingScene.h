// What the tests of closing share: programs that are hard to end, each under a path of the test's
// own, and a closer that closes them by the test's own clock.
#pragma once

#include "support/ChildProcess.h"
#include "support/Rights.h"
#include "support/RunningProgram.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"
#include "system/linux/closing/LinuxRunningApps.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

using support::askAsUser;
using support::waitUntil;

inline const std::string clients = CLIENT_PROGRAMS;

inline AppIdentity identity(const std::string& id) {
    return {.id = id, .name = "x", .bundleID = {}, .path = id, .teamID = {}};
}

inline bool isRunning(pid_t pid) {
    const auto stat = ProcFs().stat(pid);
    return stat && stat->state != 'Z';
}

/// A program with the words that it leaves in a file.
struct Client {
    std::string log;
    std::unique_ptr<RunningProgram> program;

    std::string said() const { return support::readFile(log); }
    bool hasSaid(const std::string& text) const { return said().find(text) != std::string::npos; }
};

class Closing : public ::testing::Test {
protected:
    /// The program `name` under a path that nobody else runs.
    std::string copyOf(const std::string& name, const std::string& as = "app") const {
        const auto file = folder.write(as, "", true);
        std::filesystem::copy_file(name, file, std::filesystem::copy_options::overwrite_existing);
        return std::filesystem::canonical(file);
    }
    Client start(const std::string& file, const std::string& way,
                 const std::string& argument = "") {
        const std::string log = folder.path("log" + std::to_string(++clients_));
        std::vector<std::string> arguments{file, log, way};
        if (!argument.empty()) {
            arguments.push_back(argument);
        }
        Client client{.log = log, .program = std::make_unique<RunningProgram>(file, arguments)};
        EXPECT_TRUE(waitUntil([&] { return client.hasSaid("\n"); })) << way;
        return client;
    }
    void close(const std::string& id) {
        closer.close(identity(id), [this](bool gone) {
            EXPECT_FALSE(answer) << "one answer only";
            answer = gone;
        });
    }
    /// Within a few polls: one beside which other programs are being started may leave it open.
    bool isSaidToBeGone() {
        for (int poll = 0; poll < 10 && !answer; ++poll) {
            time.advanceBy(AppCloser::pollInterval);
        }
        return answer == true;
    }

    TemporaryDirectory folder;
    LinuxAppNames names{LinuxPlaces::ofThisUser()};
    ProcessFinder processes{names};
    LinuxRunningApps running{processes, ""};
    ScriptedTime time;
    AppCloser closer{running, time};
    std::optional<bool> answer;

private:
    int clients_ = 0;
};

} // namespace velmoran
