// What the tests of a whole stop share: apps that use the microphone for real, and what was said
// and kept of them. The apps are copies of the tests' clients: the processes of an app are all that
// run its file, and those of other tests must not be among them. Belongs to one test.
#pragma once

#include "integration/RunningModel.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {

class Stop : public RunningModel {
protected:
    Stop() { session_.addMicrophone(); }

    std::string copyOf(const std::string& program, const std::string& name) const {
        const auto copy = session_.home() / name;
        std::filesystem::copy_file(std::string(CLIENT_PROGRAMS "/") + program, copy);
        return copy;
    }

    /// What such an app is called: the session's home is the person's.
    static std::string shown(const std::string& name) { return name + " (~)"; }

    support::ChildProcess& use(const std::string& name, const std::vector<std::string>& command) {
        auto& child = session_.start(name, command);
        EXPECT_TRUE(becomes([&] {
            return card(shown(name) + " turned on the microphone") != nullptr;
        })) << report();
        return child;
    }

    bool isMuted() {
        return session_.run({"pactl", "get-source-mute", "virtual-microphone"}).output ==
               "Mute: yes\n";
    }
    bool stopEnds() {
        return becomes([&] { return !*model_->isStopping; });
    }
    UsageSession row(const std::string& app) {
        for (const auto& session : stored()) {
            if (session.app.name == shown(app)) {
                return session;
            }
        }
        ADD_FAILURE() << "no row of " << app;
        return {};
    }
};

} // namespace velmoran
