// A stop of programs that take it in their own ways, each while it uses the microphone: what the
// card says of them, what is kept in the history, and what is left of them.
#include "integration/StopScene.h"
#include "system/linux/kernel/ProcFs.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace velmoran {
namespace {

using support::ChildProcess;
using support::waitUntil;

class StoppingTheHard : public Stop {
protected:
    std::string pathOf(const std::string& name) const {
        return std::filesystem::canonical(session_.home() / name);
    }
    ChildProcess& record(const std::string& name, std::vector<std::string> options = {}) {
        options.insert(options.begin(), copyOf("graph-client", name));
        auto& child = use(name, options);
        EXPECT_EQ(model_->openSessions->size(), 1U) << report();
        return child;
    }
    void pressStopOn(const std::string& name) {
        ASSERT_TRUE(press(shown(name) + " turned on the microphone", "Stop")) << report();
        ASSERT_TRUE(*model_->isStopping);
    }
    std::size_t runningOf(const std::string& path) const {
        const ProcFs proc;
        const auto pids = proc.pids();
        return static_cast<std::size_t>(std::count_if(
            pids.begin(), pids.end(), [&](pid_t pid) { return proc.executable(pid) == path; }));
    }
    char stateOf(pid_t pid) const {
        const auto stat = ProcFs().stat(pid);
        return stat ? stat->state : '-';
    }

    /// Until the stop is over: its card and its row say that the app was closed.
    void expectClosed(const std::string& name) {
        ASSERT_TRUE(stopEnds()) << report();
        const auto* result = card("Microphone muted. " + shown(name) + " was closed.");
        ASSERT_NE(result, nullptr) << report();
        EXPECT_EQ(result->message, "The microphone stays muted until you unmute it with "
                                   "“velmoranctl unmute”.");
        EXPECT_TRUE(isMuted());
        EXPECT_EQ(runningOf(pathOf(name)), 0U);
        EXPECT_TRUE(becomes([&] { return model_->openSessions->empty(); })) << report();
        EXPECT_TRUE(row(name).end.has_value());
        EXPECT_EQ(row(name).outcome, SessionOutcome::stoppedByUser);
        EXPECT_EQ(stored().size(), 1U);
        quit();
    }
};

TEST_F(StoppingTheHard, ClosesAProgramThatIgnoresItByForce) {
    start();
    auto& deaf = record("deaf", {"--term", "ignore"});
    pressStopOn("deaf");
    expectClosed("deaf");
    EXPECT_EQ(deaf.wait(), -SIGKILL);
}

TEST_F(StoppingTheHard, ClosesWhatAProgramLeavesBehindWhenItForks) {
    start();
    auto& parent = record("forker", {"--term", "fork"});
    pressStopOn("forker");
    EXPECT_TRUE(becomes([&] { return !parent.running(); }));
    EXPECT_EQ(parent.wait(), 0);
    EXPECT_TRUE(*model_->isStopping) << "its child runs on";
    expectClosed("forker");
}

TEST_F(StoppingTheHard, LetsAProgramThatIsStoppedObey) {
    start();
    auto& frozen = record("frozen");
    frozen.signal(SIGSTOP);
    ASSERT_TRUE(waitUntil([&] { return stateOf(frozen.pid()) == 'T'; }));
    pressStopOn("frozen");
    expectClosed("frozen");
    EXPECT_EQ(frozen.wait(), -SIGTERM) << "it was to end by its own will";
}

TEST_F(StoppingTheHard, CountsAProcessThatNobodyHasCollectedAsClosed) {
    start();
    auto& ghost = record("ghost");
    // The program hears nothing of it before the press.
    ASSERT_EQ(kill(ghost.pid(), SIGKILL), 0);
    ASSERT_TRUE(waitUntil([&] { return stateOf(ghost.pid()) == 'Z'; }));
    pressStopOn("ghost");
    expectClosed("ghost");
    EXPECT_EQ(stateOf(ghost.pid()), 'Z');
}

/// In the place of an X server: does something when it is first spoken to, and answers nobody.
class Doorkeeper {
public:
    Doorkeeper() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* any = reinterpret_cast<sockaddr*>(&address);
        if (::bind(socket_, any, size) != 0 || ::listen(socket_, 4) != 0 ||
            ::getsockname(socket_, any, &size) != 0) {
            throw std::runtime_error("no socket");
        }
        constexpr int firstPort = 6000; // of display 0
        display_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port) - firstPort);
    }
    ~Doorkeeper() {
        if (thread_.joinable()) {
            thread_.join();
        }
        ::close(socket_);
    }
    Doorkeeper(const Doorkeeper&) = delete;
    Doorkeeper& operator=(const Doorkeeper&) = delete;

    /// As in DISPLAY.
    const std::string& display() const { return display_; }
    void waitWith(std::function<void()> onKnock) {
        thread_ = std::thread([this, onKnock = std::move(onKnock)] { wait(onKnock); });
    }
    /// Whether somebody has come; waits for that.
    bool wasSpokenTo() {
        thread_.join();
        return wasSpokenTo_;
    }

private:
    void wait(const std::function<void()>& onKnock) {
        pollfd knock{.fd = socket_, .events = POLLIN, .revents = 0};
        if (::poll(&knock, 1, static_cast<int>(support::patience.count())) == 1) {
            const int visitor = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
            onKnock();
            wasSpokenTo_ = true;
            ::close(visitor);
        }
    }

    int socket_;
    std::string display_;
    bool wasSpokenTo_ = false;
    std::thread thread_;
};

TEST_F(StoppingTheHard, CountsAProgramThatEndsBetweenListingAndSignalAsClosed) {
    // The X server is asked for the windows of those that were found, before they are signalled.
    Doorkeeper keeper;
    setenv("DISPLAY", keeper.display().c_str(), 1); // NOLINT: nobody else reads it
    start();
    unsetenv("DISPLAY"); // NOLINT: it was read at the start
    auto& brief = record("brief");
    keeper.waitWith([&] {
        kill(brief.pid(), SIGKILL);
        brief.wait();
    });
    pressStopOn("brief");
    expectClosed("brief");
    EXPECT_TRUE(keeper.wasSpokenTo());
    EXPECT_EQ(brief.wait(), -SIGKILL) << "it had gone when it was to be asked";
}

} // namespace
} // namespace velmoran
