// Programs that take each other's place, that have no first thread, that a debugger holds, that are
// many, or another user's: closed as a stop closes them, each judged by what the kernel says of it.
#include "integration/ClosingScene.h"
#include "system/linux/kernel/HeldProcess.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>

namespace velmoran {
namespace {

/// Is over once no process is left of those that were started while it was open, nor any that they
/// have started: all of them inherit it.
class Lifeline {
public:
    Lifeline() {
        if (::pipe2(ends_, O_CLOEXEC) != 0 || ::fcntl(ends_[1], F_SETFD, 0) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    ~Lifeline() {
        letGo();
        ::close(ends_[0]);
    }
    Lifeline(const Lifeline&) = delete;
    Lifeline& operator=(const Lifeline&) = delete;

    /// From here on only those hold it.
    void letGo() {
        if (ends_[1] >= 0) {
            ::close(ends_[1]);
            ends_[1] = -1;
        }
    }
    bool isOver() const {
        pollfd end{.fd = ends_[0], .events = 0, .revents = 0};
        return ::poll(&end, 1, 0) == 1 && (end.revents & POLLHUP) != 0;
    }

private:
    int ends_[2] = {-1, -1};
};

class ClosingTheHard : public Closing {
protected:
    /// Until the answer, by the real clock.
    void waitForAnswer() {
        const auto begin = std::chrono::steady_clock::now();
        while (!answer) {
            time.advanceTo(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        }
    }
};

TEST_F(ClosingTheHard, SaysThatAnAppIsThereThatAlwaysStartsAnother) {
    const auto app = copyOf(clients + "/hard-to-end");
    Lifeline lifeline;
    const auto client = start(app, "swarm");
    lifeline.letGo();
    close(app);
    waitForAnswer();
    // It may be hit in the end. What is said is what is so.
    EXPECT_EQ(*answer, lifeline.isOver());
    std::filesystem::remove(client.log);
    EXPECT_TRUE(waitUntil([&] { return lifeline.isOver(); }));
}

/// How many microseconds each process of a relay lives.
class ClosingARelay : public ClosingTheHard, public ::testing::WithParamInterface<const char*> {};

TEST_P(ClosingARelay, IsNeverSaidToBeGoneWhileItRuns) {
    const auto app = copyOf(clients + "/hard-to-end");
    Lifeline lifeline;
    const auto client = start(app, "relay", GetParam());
    lifeline.letGo();
    for (int turn = 0; turn < 100; ++turn) {
        const bool isThere = !running.find(identity(app)).processes.empty();
        ASSERT_TRUE(isThere || lifeline.isOver()) << turn;
    }
    EXPECT_FALSE(lifeline.isOver()) << "it ended by itself";
    std::filesystem::remove(client.log);
    EXPECT_TRUE(waitUntil([&] { return lifeline.isOver(); }));
    EXPECT_TRUE(waitUntil([&] { return running.find(identity(app)).processes.empty(); }));
}

TEST_P(ClosingARelay, IsEndedOrSaidToBeThere) {
    const auto app = copyOf(clients + "/hard-to-end");
    Lifeline lifeline;
    const auto client = start(app, "relay", GetParam());
    lifeline.letGo();
    close(app);
    waitForAnswer();
    EXPECT_EQ(*answer, lifeline.isOver());
    std::filesystem::remove(client.log);
    EXPECT_TRUE(waitUntil([&] { return lifeline.isOver(); }));
}

INSTANTIATE_TEST_SUITE_P(Paces, ClosingARelay, ::testing::Values("4000", "500", "0"),
                         [](const auto& pace) {
                             return "Of" + std::string(pace.param) + "Microseconds";
                         });

TEST_F(ClosingTheHard, AProgramWithoutItsFirstThreadIsAskedAndEnds) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "headless");
    ASSERT_EQ(ProcFs().stat(client.program->pid())->state, 'Z');
    EXPECT_EQ(names.identify(client.program->pid()).id(), app);
    EXPECT_EQ(processes.find(identity(app)), std::vector<pid_t>{client.program->pid()});
    close(app);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    time.advanceBy(AppCloser::pollInterval);
    EXPECT_EQ(answer, true);
    EXPECT_TRUE(client.hasSaid("heard"));
}

TEST_F(ClosingTheHard, AStoppedProgramWithoutItsFirstThreadGetsToObey) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "headless");
    const auto thread = ProcFs().survivingThread(client.program->pid());
    ASSERT_TRUE(thread);
    kill(client.program->pid(), SIGSTOP);
    ASSERT_TRUE(waitUntil([&] { return ProcFs().stat(*thread)->state == 'T'; }));
    close(app);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    time.advanceBy(AppCloser::pollInterval);
    EXPECT_EQ(answer, true);
    EXPECT_TRUE(client.hasSaid("heard")) << "it was to end by its own will";
}

/// Watches all threads of a process as a debugger does that has hung; nothing if it may not.
class HungDebugger {
public:
    explicit HungDebugger(pid_t target) {
        std::vector<pid_t> threads;
        for (const auto& entry :
             std::filesystem::directory_iterator("/proc/" + std::to_string(target) + "/task")) {
            threads.push_back(std::stoi(entry.path().filename()));
        }
        int ready[2] = {-1, -1};
        if (pipe(ready) != 0) {
            throw std::runtime_error("no pipe");
        }
        pid_ = fork();
        if (pid_ == 0) {
            char watches = 'y';
            for (const pid_t thread : threads) {
                watches = ptrace(PTRACE_SEIZE, thread, nullptr, nullptr) == 0 ? watches : 'n';
            }
            exitUnless(write(ready[1], &watches, 1) == 1);
            for (;;) {
                pause();
            }
        }
        char watches = 'n';
        watches_ = read(ready[0], &watches, 1) == 1 && watches == 'y' && threads.size() == 2;
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~HungDebugger() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    HungDebugger(const HungDebugger&) = delete;
    HungDebugger& operator=(const HungDebugger&) = delete;
    bool watches() const { return watches_; }

private:
    static void exitUnless(bool went) {
        if (!went) {
            _exit(1);
        }
    }

    pid_t pid_ = 0;
    bool watches_ = false;
};

TEST_F(ClosingTheHard, WhatAHungDebuggerWatchesIsGoneOnceItHasEnded) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "threads");
    const HungDebugger debugger(client.program->pid());
    if (!debugger.watches()) {
        GTEST_SKIP() << "programs may not be watched here";
    }
    const auto held = HeldProcess::hold(client.program->pid());
    ASSERT_TRUE(held);
    EXPECT_FALSE(held->isGone());
    close(app);
    EXPECT_FALSE(answer);
    time.advanceTo(2.05);
    EXPECT_TRUE(waitUntil([&] { return held->isGone(); }));
    time.advanceBy(AppCloser::pollInterval);
    EXPECT_EQ(answer, true);
}

/// More processes than this program may hold at once, by how they take it.
class ClosingMany : public ClosingTheHard, public ::testing::WithParamInterface<const char*> {};

TEST_P(ClosingMany, EndsThemAll) {
    const auto app = copyOf(clients + "/hard-to-end");
    const bool obey = std::string(GetParam()) == "obey";
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0777));
    EXPECT_EQ(askAsUser([&] {
                  const rlimit few{.rlim_cur = 48, .rlim_max = 48};
                  std::vector<Client> all;
                  for (int i = 0; i < 60; ++i) {
                      all.push_back(start(app, GetParam()));
                  }
                  if (setrlimit(RLIMIT_NOFILE, &few) != 0) {
                      return 1;
                  }
                  close(app);
                  waitForAnswer();
                  const auto isRunning = [](const Client& client) {
                      return client.program->isRunning();
                  };
                  const auto hasHeard = [](const Client& client) {
                      return client.hasSaid("heard");
                  };
                  if (answer != true || std::any_of(all.begin(), all.end(), isRunning)) {
                      return 2;
                  }
                  return std::count_if(all.begin(), all.end(), hasHeard) == (obey ? 60 : 0) ? 0 : 3;
              }),
              0);
}

INSTANTIATE_TEST_SUITE_P(Ways, ClosingMany, ::testing::Values("obey", "ignore"),
                         [](const auto& way) { return way.param; });

/// Another user's, by a program that changes the user and then becomes the wanted one.
class ClosingAmongUsersAsRoot : public ClosingTheHard {
protected:
    void SetUp() override {
        std::filesystem::permissions(folder.path(), std::filesystem::perms(0777));
        app = copyOf(clients + "/hard-to-end");
    }
    Client startAsNobody() {
        Client client{.log = folder.path("nobody"), .program = nullptr};
        client.program = std::make_unique<RunningProgram>(
            "/usr/bin/setpriv",
            std::vector<std::string>{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                     app, client.log, "obey"});
        EXPECT_TRUE(waitUntil([&] { return client.hasSaid("\n"); }));
        return client;
    }
    /// A user who may look at everybody's processes and signal none.
    static int askAsOnlooker(const std::function<int()>& ask) {
        const pid_t child = fork();
        if (child == 0) {
            __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
            __user_cap_data_struct sets[2]{};
            sets[0].effective = sets[0].permitted = 1U << CAP_SYS_PTRACE;
            const bool isOnlooker = prctl(PR_SET_KEEPCAPS, 1) == 0 && support::becomeNobody() &&
                                    syscall(SYS_capset, &header, sets) == 0;
            _exit(isOnlooker ? ask() : 99);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 98;
    }

    std::string app;
};

TEST_F(ClosingAmongUsersAsRoot, AnothersDoesNotKeepTheOwnAppFromBeingGone) {
    const auto roots = start(app, "obey");
    EXPECT_EQ(askAsOnlooker([&] {
                  const auto own = start(app, "obey");
                  const auto all = processes.find(identity(app));
                  if (all.size() != 2) {
                      return 1;
                  }
                  close(app);
                  waitForAnswer();
                  if (own.program->isRunning()) {
                      return 2;
                  }
                  return answer == true ? 0 : 3;
              }),
              0);
    EXPECT_TRUE(roots.program->isRunning());
}

TEST_F(ClosingAmongUsersAsRoot, AnothersThatUsedSomethingIsNotGone) {
    const auto roots = start(app, "obey");
    EXPECT_EQ(askAsOnlooker([&] {
                  const auto own = start(app, "obey");
                  if (names.identify(roots.program->pid()).id() != app) {
                      return 1;
                  }
                  close(app);
                  waitForAnswer();
                  if (own.program->isRunning()) {
                      return 2;
                  }
                  return answer == false ? 0 : 3;
              }),
              0);
    EXPECT_TRUE(roots.program->isRunning());
}

TEST_F(ClosingAmongUsersAsRoot, AnothersAloneIsNotGone) {
    const auto roots = start(app, "obey");
    EXPECT_EQ(askAsOnlooker([&] {
                  close(app);
                  waitForAnswer();
                  return answer == false ? 0 : 1;
              }),
              0);
    EXPECT_TRUE(roots.program->isRunning());
}

TEST_F(ClosingAmongUsersAsRoot, RootSparesAnothersThatUsesNothing) {
    const auto own = start(app, "obey");
    const auto others = startAsNobody();
    close(app);
    waitForAnswer();
    EXPECT_EQ(answer, true);
    EXPECT_FALSE(own.program->isRunning());
    EXPECT_TRUE(others.program->isRunning());
    EXPECT_FALSE(others.hasSaid("heard"));
}

TEST_F(ClosingAmongUsersAsRoot, RootClosesAnothersThatUsesSomething) {
    const auto own = start(app, "obey");
    const auto others = startAsNobody();
    ASSERT_EQ(names.identify(others.program->pid()).id(), app);
    close(app);
    waitForAnswer();
    EXPECT_EQ(answer, true);
    EXPECT_FALSE(own.program->isRunning());
    EXPECT_FALSE(others.program->isRunning());
}

} // namespace
} // namespace velmoran
