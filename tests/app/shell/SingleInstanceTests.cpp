#include "app/shell/SingleInstance.h"
#include "core/base/Uuid.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace velmoran {
namespace {

bool soon(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 20000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    return condition();
}

struct SingleInstanceTest : ::testing::Test {
    const std::string name = "org.velmoran.Test-" + Uuid::random().text();
    bool holderIsVelmoran = true;

    std::unique_ptr<SingleInstance> start() {
        return std::make_unique<SingleInstance>(
            name, [this](const PeerProgram&) { return holderIsVelmoran; });
    }
    /// One that may have to wait for the others, whose loop goes on meanwhile.
    std::unique_ptr<SingleInstance> startBeside() {
        std::unique_ptr<SingleInstance> other;
        std::atomic<bool> isDone = false;
        std::thread starting([&] {
            other = start();
            isDone = true;
        });
        EXPECT_TRUE(soon([&] { return isDone.load(); }));
        starting.join();
        return other;
    }
};

TEST_F(SingleInstanceTest, TheSecondStartTellsTheFirstToShowItself) {
    const auto first = start();
    int shows = 0;
    first->onShow([&] { ++shows; });
    ASSERT_EQ(first->role(), SingleInstance::Role::first);
    EXPECT_EQ(startBeside()->role(), SingleInstance::Role::second);
    EXPECT_TRUE(soon([&] { return shows > 0; }));
    shows = 0;
    const auto third = startBeside();
    EXPECT_EQ(third->role(), SingleInstance::Role::second);
    EXPECT_TRUE(third->obstacles().empty());
    EXPECT_TRUE(soon([&] { return shows > 0; }));
}

TEST_F(SingleInstanceTest, AStartAfterTheEndOfTheFirstIsTheFirst) {
    start();
    EXPECT_EQ(start()->role(), SingleInstance::Role::first);
}

TEST_F(SingleInstanceTest, OtherNamesAreOtherPrograms) {
    const auto first = start();
    const SingleInstance other(name + "x");
    EXPECT_EQ(other.role(), SingleInstance::Role::first);
}

TEST_F(SingleInstanceTest, AStartBeforeTheFirstIsReadyIsNotForgotten) {
    const auto first = start();
    std::atomic<bool> isSecond = false;
    std::thread starting([&] { isSecond = start()->role() == SingleInstance::Role::second; });
    int shows = 0;
    first->onShow([&] { ++shows; });
    EXPECT_TRUE(soon([&] { return shows > 0 && isSecond; }));
    starting.join();
}

TEST_F(SingleInstanceTest, AStrangerInItsPlaceKeepsNobodyFromStartingOnce) {
    const auto stranger = start();
    holderIsVelmoran = false;
    const auto first = start();
    EXPECT_EQ(first->role(), SingleInstance::Role::first);
    ASSERT_EQ(first->obstacles().size(), 1U);
    EXPECT_FALSE(first->obstacles()[0].isVelmoran);
    EXPECT_EQ(first->obstacles()[0].program.pid, ::getpid());
    EXPECT_EQ(first->obstacles()[0].program.path, programOf(::getpid()).path);

    // The next start goes past the stranger, too, and finds it.
    int asked = 0;
    std::atomic<int> role = -1;
    std::thread starting([&] {
        const SingleInstance second(name, [&](const PeerProgram&) { return ++asked > 1; });
        role = static_cast<int>(second.role());
    });
    EXPECT_TRUE(soon([&] { return role >= 0; }));
    starting.join();
    EXPECT_EQ(role, static_cast<int>(SingleInstance::Role::second));
    EXPECT_EQ(asked, 2);
}

TEST_F(SingleInstanceTest, WhoeverTakesEveryPlaceKeepsNobodyFromRunning) {
    holderIsVelmoran = false;
    std::vector<std::unique_ptr<SingleInstance>> strangers;
    for (int i = 0; i < SingleInstance::places; ++i) {
        strangers.push_back(start());
        EXPECT_EQ(strangers.back()->role(), SingleInstance::Role::first);
    }
    const auto last = start();
    EXPECT_EQ(last->role(), SingleInstance::Role::alone);
    EXPECT_EQ(last->obstacles().size(), static_cast<std::size_t>(SingleInstance::places));
}

TEST_F(SingleInstanceTest, ManyThatDoNotAnswerHoldUpAStartNoLongerThanOne) {
    std::vector<std::unique_ptr<SingleInstance>> stopped;
    holderIsVelmoran = false;
    for (int i = 0; i + 1 < SingleInstance::places; ++i) {
        stopped.push_back(start());
    }
    holderIsVelmoran = true;
    QElapsedTimer timer;
    timer.start();
    const auto next = start();
    EXPECT_LT(timer.elapsed(), 2 * SingleInstance::patienceMilliseconds);
    EXPECT_EQ(next->role(), SingleInstance::Role::first);
    EXPECT_EQ(next->obstacles().size(), stopped.size());
}

TEST_F(SingleInstanceTest, OneThatAnswersIsFoundBehindOneThatDoesNot) {
    // Made in a thread without a loop, which answers nobody.
    const auto stopped = startBeside();
    ASSERT_EQ(stopped->role(), SingleInstance::Role::first);
    holderIsVelmoran = false;
    const auto running = start();
    ASSERT_EQ(running->role(), SingleInstance::Role::first);
    int shows = 0;
    running->onShow([&] { ++shows; });
    holderIsVelmoran = true;
    QElapsedTimer timer;
    timer.start();
    const auto next = startBeside();
    EXPECT_LT(timer.elapsed(), SingleInstance::patienceMilliseconds) << "it waited for the other";
    EXPECT_EQ(next->role(), SingleInstance::Role::second);
    EXPECT_TRUE(next->obstacles().empty());
    EXPECT_TRUE(soon([&] { return shows > 0; }));
}

TEST_F(SingleInstanceTest, OneThatEndsInsteadOfAnsweringLeavesItsPlace) {
    auto ending = start();
    // Asked as to who it is, it ends before it is asked for more.
    const SingleInstance next(name, [&](const PeerProgram&) {
        ending.reset();
        return true;
    });
    EXPECT_EQ(next.role(), SingleInstance::Role::first);
    EXPECT_TRUE(next.obstacles().empty());
    // It is in the first place, where everybody looks.
    int asked = 0;
    std::atomic<int> role = -1;
    std::thread starting([&] {
        const SingleInstance third(name, [&](const PeerProgram&) { return ++asked > 0; });
        role = static_cast<int>(third.role());
    });
    EXPECT_TRUE(soon([&] { return role >= 0; }));
    starting.join();
    EXPECT_EQ(role, static_cast<int>(SingleInstance::Role::second));
    EXPECT_EQ(asked, 1);
}

TEST_F(SingleInstanceTest, OneThatDoesNotAnswerKeepsNobodyFromRunning) {
    // Nobody lets its loop go on.
    const auto stopped = start();
    const auto next = start();
    EXPECT_EQ(next->role(), SingleInstance::Role::first);
    ASSERT_EQ(next->obstacles().size(), 1U);
    EXPECT_TRUE(next->obstacles()[0].isVelmoran);
}

} // namespace
} // namespace velmoran
