// Real programs that take being closed in their own ways, closed as a stop closes them. Each is a
// copy in a folder of the test's own, so that it is an app of its own: nothing else is ever hit.
#include "integration/ClosingScene.h"
#include "support/PrivateSession.h"
#include "system/linux/kernel/HeldProcess.h"

#include <gtest/gtest.h>

#include <linux/sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace velmoran {
namespace {

TEST_F(Closing, IsDoneAtOnceWhenNothingOfTheAppRuns) {
    close(copyOf("/bin/sleep"));
    EXPECT_EQ(answer, true);
}

TEST_F(Closing, EndsWhatObeysAndSparesAllElse) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto other = copyOf(clients + "/hard-to-end", "other");
    const auto one = start(app, "obey");
    const auto two = start(app, "obey");
    const auto spared = start(other, "obey");
    close(app);
    EXPECT_TRUE(waitUntil([&] { return !one.program->isRunning() && !two.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
    EXPECT_TRUE(one.hasSaid("heard"));
    EXPECT_TRUE(two.hasSaid("heard"));
    EXPECT_TRUE(spared.program->isRunning());
    EXPECT_FALSE(spared.hasSaid("heard"));
}

TEST_F(Closing, OneScriptEndsAndTheOtherOfTheSameInterpreterGoesOn) {
    const auto script = folder.write("one.sh", "while :; do read line < /dev/zero; done\n");
    const auto other = folder.write("two.sh", "while :; do read line < /dev/zero; done\n");
    const RunningProgram ended("/bin/sh", {"sh", script});
    const RunningProgram spared("/bin/sh", {"sh", other});
    close(script);
    EXPECT_TRUE(waitUntil([&] { return !ended.isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
    EXPECT_TRUE(spared.isRunning());
}

TEST_F(Closing, ForcesWhatIgnoresItAfterTwoSecondsAndNotBefore) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "ignore");
    close(app);
    time.advanceTo(1.95);
    EXPECT_TRUE(client.program->isRunning());
    EXPECT_FALSE(answer);
    time.advanceTo(2.05);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
}

TEST_F(Closing, AStoppedProgramGetsToObey) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "obey");
    kill(client.program->pid(), SIGSTOP);
    ASSERT_TRUE(waitUntil([&] { return ProcFs().stat(client.program->pid())->state == 'T'; }));
    close(app);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
    EXPECT_TRUE(client.hasSaid("heard")) << "it was to end by its own will";
}

TEST_F(Closing, AProcessThatNobodyHasCollectedIsGone) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "obey");
    const auto found = running.find(identity(app));
    ASSERT_EQ(found.processes.size(), 1U);
    EXPECT_FALSE(found.processes.front()->isGone());
    kill(client.program->pid(), SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    ASSERT_EQ(ProcFs().stat(client.program->pid())->state, 'Z');
    EXPECT_TRUE(found.processes.front()->isGone());
    close(app);
    EXPECT_EQ(answer, true);
}

TEST_F(Closing, OneThatEndsBetweenListingAndSignalIsGone) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "obey");
    const auto found = running.find(identity(app));
    ASSERT_EQ(found.processes.size(), 1U);
    client.program->end();
    found.processes.front()->askToEnd();
    found.processes.front()->kill();
    EXPECT_TRUE(found.processes.front()->isGone());
}

TEST_F(Closing, ReachesTheChildThatIsLeftBehind) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "fork");
    close(app);
    ASSERT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    const auto left = processes.find(identity(app));
    ASSERT_EQ(std::count_if(left.begin(), left.end(), isRunning), 1);
    time.advanceTo(1.95);
    EXPECT_FALSE(answer) << "the app isn't gone while its child runs";
    time.advanceTo(2.05);
    EXPECT_TRUE(waitUntil([&] { return std::none_of(left.begin(), left.end(), isRunning); }));
    EXPECT_TRUE(isSaidToBeGone());
}

TEST_F(Closing, SparesAProcessThatHasBecomeAnotherProgram) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto sleep = copyOf("/bin/sleep", "sleep");
    const auto client = start(app, "turn", sleep);
    close(app);
    ASSERT_TRUE(waitUntil([&] { return ProcFs().executable(client.program->pid()) == sleep; }));
    time.advanceTo(4);
    EXPECT_EQ(answer, true);
    EXPECT_TRUE(client.program->isRunning());
}

TEST_F(Closing, NeverEndsItselfNorWhoStartedIt) {
    // The closer runs as a copy, so that no other test's program is of the same app.
    const auto closerFile = copyOf(clients + "/close-app", "closer");
    const auto script =
        folder.write("parent.sh", "\"$1\" \"$2\" > \"$3\"; echo \"$?\" >> \"$3\"\n");
    for (const auto& id : {closerFile, script}) {
        const auto result = folder.path("result");
        std::filesystem::remove(result);
        RunningProgram parent("/bin/sh", {"sh", script, closerFile, id, result});
        EXPECT_TRUE(waitUntil([&] { return support::readFile(result).ends_with("\n0\n"); }))
            << id << ": " << support::readFile(result);
    }
}

TEST_F(Closing, ToHideIsNoWayToEscape) {
    const auto app = copyOf(clients + "/hard-to-end");
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0777));
    // Root sees through it, so all is done by a user.
    EXPECT_EQ(askAsUser([&] {
                  const auto client = start(app, "hide");
                  const pid_t pid = client.program->pid();
                  if (names.identify(pid).id() != app) {
                      return 1;
                  }
                  kill(pid, SIGUSR1);
                  if (!waitUntil([&] { return client.hasSaid("hidden"); }) ||
                      ProcFs().isReadable(pid)) {
                      return 2;
                  }
                  close(app);
                  time.advanceTo(2.05);
                  if (!waitUntil([&] { return !client.program->isRunning(); })) {
                      return 3;
                  }
                  time.advanceBy(AppCloser::pollInterval);
                  return answer == true ? 0 : 4;
              }),
              0);
}

/// With processes of another user, or with ids that were asked for.
using ClosingAsRoot = Closing;

TEST_F(ClosingAsRoot, OneThatMayNotBeSignalledIsNotGone) {
    const auto app = copyOf(clients + "/hard-to-end");
    const auto client = start(app, "obey");
    // Known as the app from when it could still be looked at.
    ASSERT_EQ(names.identify(client.program->pid()).id(), app);
    EXPECT_EQ(askAsUser([&] {
                  close(app);
                  time.advanceTo(4);
                  return answer == false ? 0 : 1;
              }),
              0);
    EXPECT_TRUE(client.program->isRunning());
    EXPECT_FALSE(client.hasSaid("heard"));
}

TEST_F(ClosingAsRoot, AReusedProcessIdIsNeverHit) {
    auto first =
        std::make_unique<RunningProgram>("/bin/sleep", std::vector<std::string>{"sleep", "60"});
    const auto held = HeldProcess::hold(first->pid());
    ASSERT_TRUE(held);
    EXPECT_FALSE(held->isGone());
    pid_t wanted = first->pid();
    first->end();
    EXPECT_TRUE(held->isGone());
    clone_args how{};
    how.exit_signal = SIGCHLD;
    how.set_tid = reinterpret_cast<std::uint64_t>(&wanted);
    how.set_tid_size = 1;
    const auto second = static_cast<pid_t>(syscall(SYS_clone3, &how, sizeof how));
    if (second == 0) {
        for (;;) {
            pause();
        }
    }
    if (second < 0) {
        GTEST_SKIP() << "may not choose a process id here";
    }
    EXPECT_EQ(second, held->pid());
    EXPECT_FALSE(held->signal(SIGKILL));
    EXPECT_TRUE(held->isGone());
    EXPECT_TRUE(isRunning(second));
    kill(second, SIGKILL);
    waitpid(second, nullptr, 0);
}

/// With an X server and a window manager of the test's own.
class ClosingWindows : public Closing {
protected:
    ClosingWindows() {
        session.startDisplay();
        display = session.environment().at("DISPLAY");
        setenv("DISPLAY", display.c_str(), 1); // NOLINT: for the clients; no threads yet
        windowed.emplace(processes, display, support::patience);
        windowCloser.emplace(*windowed, time);
    }
    void closeWindowed(const std::string& id) {
        windowCloser->close(identity(id), [this](bool gone) { answer = gone; });
    }
    Client startReady(const std::string& file, const std::string& way,
                      const std::string& argument = "") {
        auto client = start(file, way, argument);
        EXPECT_TRUE(waitUntil([&] { return client.hasSaid("ready"); }));
        return client;
    }

    support::PrivateSession session;
    std::string display;
    std::optional<LinuxRunningApps> windowed;
    std::optional<AppCloser> windowCloser;
};

TEST_F(ClosingWindows, AreAskedAndNobodyIsSignalled) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto client = startReady(app, "close");
    const auto beside = startReady(copyOf(clients + "/window-keeper", "other"), "close");
    closeWindowed(app);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); })) << session.logs();
    EXPECT_TRUE(isSaidToBeGone());
    EXPECT_TRUE(client.hasSaid("asked"));
    EXPECT_FALSE(client.hasSaid("signalled"));
    EXPECT_TRUE(beside.program->isRunning());
    EXPECT_FALSE(beside.hasSaid("asked"));
}

TEST_F(ClosingWindows, AreAskedWithoutAWindowManagerToo) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto client = startReady(app, "close");
    ASSERT_TRUE(session.child("window manager"));
    session.stop("window manager");
    closeWindowed(app);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
    EXPECT_TRUE(client.hasSaid("asked"));
    EXPECT_FALSE(client.hasSaid("signalled"));
}

TEST_F(ClosingWindows, OneThatAsksAboutUnsavedWorkIsForcedInTheEnd) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto client = startReady(app, "ask");
    closeWindowed(app);
    EXPECT_TRUE(waitUntil([&] { return client.hasSaid("asked"); }));
    time.advanceTo(1.95);
    EXPECT_TRUE(client.program->isRunning());
    EXPECT_FALSE(answer);
    time.advanceTo(2.05);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
    EXPECT_FALSE(client.hasSaid("signalled"));
}

TEST_F(ClosingWindows, OneThatGoesOnWithoutItsWindowIsForcedInTheEnd) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto client = startReady(app, "hide");
    closeWindowed(app);
    EXPECT_TRUE(waitUntil([&] { return client.hasSaid("asked"); }));
    time.advanceTo(1.95);
    EXPECT_TRUE(client.program->isRunning());
    time.advanceTo(2.05);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
}

TEST_F(ClosingWindows, AStoppedProgramIsWokenToBeAsked) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto client = startReady(app, "close");
    kill(client.program->pid(), SIGSTOP);
    ASSERT_TRUE(waitUntil([&] { return ProcFs().stat(client.program->pid())->state == 'T'; }));
    closeWindowed(app);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(client.hasSaid("asked"));
    EXPECT_FALSE(client.hasSaid("signalled"));
}

TEST_F(ClosingWindows, AStoppedProcessThatHasBecomeAnotherProgramIsNotWoken) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto sleep = copyOf("/bin/sleep", "sleep");
    const auto client = startReady(app, "close");
    const auto turned = startReady(app, "turn", sleep);
    const auto found = windowed->find(identity(app));
    ASSERT_EQ(found.applications.size(), 1U) << session.logs();
    const pid_t pid = turned.program->pid();
    kill(pid, SIGUSR1);
    ASSERT_TRUE(waitUntil([&] { return ProcFs().executable(pid) == sleep; }));
    kill(pid, SIGSTOP);
    ASSERT_TRUE(waitUntil([&] { return ProcFs().stat(pid)->state == 'T'; }));
    found.applications.front()->terminate();
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); })) << session.logs();
    EXPECT_EQ(ProcFs().stat(pid)->state, 'T');
    found.applications.front()->forceTerminate();
    EXPECT_TRUE(turned.program->isRunning());
}

TEST_F(ClosingWindows, AWindowThatCannotBeAskedMakesNoApplication) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto client = startReady(app, "deaf");
    closeWindowed(app);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(client.hasSaid("signalled"));
}

TEST_F(ClosingWindows, AreNotWhoseTheyClaimToBe) {
    const auto victim = copyOf(clients + "/hard-to-end", "victim");
    const auto client = start(victim, "obey");
    const auto liar = startReady(copyOf(clients + "/window-keeper", "liar"), "claim",
                                 std::to_string(client.program->pid()));
    closeWindowed(victim);
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
    EXPECT_TRUE(client.hasSaid("heard")) << "it has no window, so it is signalled";
    EXPECT_FALSE(liar.hasSaid("asked"));
    EXPECT_TRUE(liar.program->isRunning());
}

TEST_F(ClosingWindows, AnXServerThatDoesNotAnswerHoldsNothingUp) {
    const auto app = copyOf(clients + "/window-keeper");
    const auto client = startReady(app, "close");
    session.child("display")->signal(SIGSTOP);
    closeWindowed(app);
    EXPECT_TRUE(waitUntil([&] { return client.hasSaid("signalled"); }));
    EXPECT_TRUE(waitUntil([&] { return !client.program->isRunning(); }));
    EXPECT_TRUE(isSaidToBeGone());
    session.child("display")->signal(SIGCONT);
}

} // namespace
} // namespace velmoran
