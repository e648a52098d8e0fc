// velmoranctl in a world of its own, for the tests that run it.
#pragma once

#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace velmoran::testing {

class Ctl : public ::testing::Test {
protected:
    /// Starts a program in a world of its own: no sound server, no settings, no history.
    support::ChildProcess start(const std::vector<std::string>& arguments) {
        const auto number = std::to_string(++started_);
        const auto* path = std::getenv("PATH");
        support::ChildProcess::Options options;
        options.environment = {{"HOME", folder_.path()},
                               {"XDG_RUNTIME_DIR", folder_.path()},
                               {"PATH", path ? path : "/usr/bin:/bin"},
                               {"LANG", "C.UTF-8"},
                               {"TZ", zone}};
        // What a sanitizer was told holds for the child, too.
        for (const auto* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
            if (const auto* value = std::getenv(name)) {
                options.environment[name] = value;
            }
        }
        options.output = folder_.path("output" + number);
        options.errors = folder_.path("errors" + number);
        return {arguments, options};
    }

    support::ChildProcess ctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), VELMORANCTL);
        return start(arguments);
    }

    static bool says(const support::ChildProcess& child, const std::string& text) {
        return support::waitUntil([&] { return child.output().find(text) != std::string::npos; });
    }

    std::string history() const { return folder_.path(".local/share/Velmoran/History.store"); }

    /// Three uses within half a second.
    std::string recording() const {
        std::string text = "{\"at\": 0, \"snapshot\": {}}\n";
        for (int i = 1; i <= 6; ++i) {
            text += "{\"at\": 0." + std::to_string(i) + ", \"snapshot\": " +
                    (i % 2 == 1 ? R"({"microphoneOn": true, "microphoneApps": [{"name": "Meet"}]})"
                                : "{}") +
                    "}\n";
        }
        return folder_.write("recording.jsonl", text);
    }

    TemporaryDirectory folder_;
    std::string zone = "UTC";

private:
    int started_ = 0;
};

inline std::vector<std::string> lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> result;
    for (std::string line; std::getline(stream, line);) {
        result.push_back(line);
    }
    return result;
}

} // namespace velmoran::testing
