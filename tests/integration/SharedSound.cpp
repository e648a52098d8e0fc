#include "tests/integration/SharedSound.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmoran::support {

namespace {

/// Of the graph, as pw-dump prints it, what a case could leave behind: nodes, mutes and the
/// servers' choices, whatever their order. A microphone has no volumes before its first use, so
/// they aren't looked at.
std::vector<std::string> whatCanBeLeft(const std::string& graph) {
    std::vector<std::string> lines;
    std::istringstream stream(graph);
    for (std::string line; std::getline(stream, line);) {
        for (const char* part : {"\"node.name\":", "\"mute\":", "\"key\":"}) {
            if (line.find(part) != std::string::npos) {
                lines.push_back(line.substr(0, line.find_last_not_of(',') + 1));
                break;
            }
        }
    }
    std::ranges::sort(lines);
    return lines;
}

struct SharedServers {
    SharedServers() {
        // What the cases use besides; in one of them it would come too late to skip the suite.
        session.need({"paplay", "parecord", "pw-link", "pw-loopback", "pw-metadata", "pw-record"});
        session.startSound();
        session.addMicrophone();
        session.enter();
        servers = pids();
        before = whatCanBeLeft(session.graph());
        if (before.empty()) {
            throw std::runtime_error("the graph can't be read\n" + session.logs());
        }
    }

    [[nodiscard]] std::vector<std::pair<std::string, pid_t>> pids() {
        std::vector<std::pair<std::string, pid_t>> result;
        for (const auto& name : session.names()) {
            auto* child = session.child(name);
            result.emplace_back(name, child->running() ? child->pid() : 0);
        }
        return result;
    }

    void endWhatACaseHasStarted() {
        auto names = session.names();
        std::ranges::reverse(names);
        for (const auto& name : names) {
            if (std::ranges::find(servers, name, &std::pair<std::string, pid_t>::first) ==
                servers.end()) {
                session.stop(name);
            }
        }
    }

    PrivateSession session;
    std::vector<std::pair<std::string, pid_t>> servers;
    std::vector<std::string> before;
};

std::unique_ptr<SharedServers> sharedServers;

SharedServers& openSharedServers() {
    if (!sharedServers) {
        sharedServers = std::make_unique<SharedServers>();
    }
    return *sharedServers;
}

void checkThatNothingIsLeft() {
    sharedServers->endWhatACaseHasStarted();
    if (::testing::Test::HasFailure()) {
        return;
    }
    EXPECT_EQ(sharedServers->pids(), sharedServers->servers) << "a server isn't the one of before";
    EXPECT_TRUE(waitUntil([] {
        return whatCanBeLeft(sharedServers->session.graph()) == sharedServers->before;
    })) << "left behind: "
        << ::testing::PrintToString(whatCanBeLeft(sharedServers->session.graph()))
        << "\nbefore: " << ::testing::PrintToString(sharedServers->before);
}

} // namespace

void SharedSound::SetUpTestSuite() {
    openSharedServers();
}

void SharedSound::TearDownTestSuite() {
    sharedServers.reset();
}

SharedSound::SharedSound()
    : session(openSharedServers().session),
      environment_(session.environment()) {}

// Here the clients of the case itself have gone too.
SharedSound::~SharedSound() {
    try {
        checkThatNothingIsLeft();
    } catch (const std::exception& failure) {
        ADD_FAILURE() << failure.what();
    }
    session.environment() = environment_;
    if (HasFailure()) {
        sharedServers.reset();
    }
}

void OwnSound::SetUp() {
    session.startSound();
    session.addMicrophone();
    session.enter();
}

} // namespace velmoran::support
