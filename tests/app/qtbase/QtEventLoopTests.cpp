#include "app/qtbase/QtEventLoop.h"
#include "system/BootAlarm.h"

#include <QCoreApplication>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace velmoran {
namespace {

using Steady = std::chrono::steady_clock;

class QtEventLoopTest : public testing::Test {
protected:
    /// Runs the loop until `done`; false if that never comes.
    bool runUntil(const std::function<bool()>& done) {
        const auto limit = Steady::now() + std::chrono::seconds(60);
        while (!done() && Steady::now() < limit) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        }
        return done();
    }

private:
    int count_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{count_, arguments_};

protected:
    QtEventLoop loop;
};

TEST_F(QtEventLoopTest, RunsPostsInOrderAndNeverAtOnce) {
    std::vector<int> order;
    loop.post([&] {
        order.push_back(1);
        loop.post([&] { order.push_back(3); });
    });
    loop.post([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(runUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST_F(QtEventLoopTest, TakesPostsFromOtherThreads) {
    int runs = 0;
    const auto own = std::this_thread::get_id();
    bool elsewhere = false;
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i) {
            loop.post([&] {
                ++runs;
                elsewhere = elsewhere || std::this_thread::get_id() != own;
            });
        }
    });
    EXPECT_TRUE(runUntil([&] { return runs == 1000; }));
    other.join();
    EXPECT_FALSE(elsewhere);
}

TEST_F(QtEventLoopTest, FiresOnceAndNeverEarly) {
    const auto start = Steady::now();
    Steady::time_point fired;
    int runs = 0;
    const auto timer = loop.after(0.0105, [&] {
        fired = Steady::now();
        ++runs;
    });
    bool after = false;
    const auto later = loop.after(0.05, [&] { after = true; });
    ASSERT_TRUE(runUntil([&] { return after; }));
    EXPECT_EQ(runs, 1);
    EXPECT_GE(std::chrono::duration<double>(fired - start).count(), 0.0105);
}

TEST_F(QtEventLoopTest, RepeatsUntilTheHandleGoes) {
    int runs = 0;
    auto timer = loop.every(0.001, [&] { ++runs; });
    ASSERT_TRUE(runUntil([&] { return runs >= 3; }));
    timer.reset();
    const auto then = runs;
    bool after = false;
    const auto later = loop.after(0.02, [&] { after = true; });
    ASSERT_TRUE(runUntil([&] { return after; }));
    EXPECT_EQ(runs, then);
}

TEST_F(QtEventLoopTest, LetsAnActionDropItsOwnHandle) {
    Subscription own;
    int runs = 0;
    own = loop.every(0.001, [&, kept = std::string(100, 'x')] {
        own.reset();
        runs += kept.size() == 100 ? 1 : 100;
    });
    bool after = false;
    const auto later = loop.after(0.02, [&] { after = true; });
    ASSERT_TRUE(runUntil([&] { return after; }));
    EXPECT_EQ(runs, 1);
}

TEST_F(QtEventLoopTest, DropsWhatAHandleGaveUpBeforeItsTime) {
    bool fired = false;
    loop.after(0.001, [&] { fired = true; }).reset();
    bool after = false;
    const auto later = loop.after(0.02, [&] { after = true; });
    ASSERT_TRUE(runUntil([&] { return after; }));
    EXPECT_FALSE(fired);
}

TEST_F(QtEventLoopTest, TakesWaitsLongerThanQtCounts) {
    bool fired = false;
    const auto century = loop.after(3.2e9, [&] { fired = true; });
    bool after = false;
    const auto later = loop.after(0.01, [&] { after = true; });
    ASSERT_TRUE(runUntil([&] { return after; }));
    EXPECT_FALSE(fired);
}

TEST_F(QtEventLoopTest, MayGoBeforeItsHandlesAndWithWorkLeft) {
    Subscription timer;
    auto held = std::make_shared<int>(0);
    {
        QtEventLoop other;
        timer = other.after(1000, [held] {});
        other.post([held] {});
    }
    EXPECT_EQ(held.use_count(), 1);
    timer.reset();
}

/// What the kernel has of this process's timers of the clock that goes on during a sleep: when each
/// rings, zero for one that doesn't.
std::vector<std::string> bootAlarms() {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
        std::ifstream file(entry.path());
        bool isBootClock = false;
        for (std::string line; std::getline(file, line);) {
            isBootClock = isBootClock || line == "clockid: " + std::to_string(CLOCK_BOOTTIME);
            if (isBootClock && line.starts_with("it_value: ")) {
                result.push_back(line.substr(10));
            }
        }
    }
    return result;
}

TEST_F(QtEventLoopTest, CountsTheTimeAsleepWhereItIsAskedTo) {
    EXPECT_TRUE(bootAlarms().empty());
    auto eight = loop.afterAwakeOrAsleep(8, [] {});
    const auto alarms = bootAlarms();
    ASSERT_EQ(alarms.size(), 1U);
    EXPECT_TRUE(alarms[0].starts_with("(8, 0)") || alarms[0].starts_with("(7, ")) << alarms[0];
    auto four = loop.afterAwakeOrAsleep(4, [] {});
    ASSERT_EQ(bootAlarms().size(), 1U);
    EXPECT_TRUE(bootAlarms()[0].starts_with("(3, ")) << bootAlarms()[0];
    // Nothing wakes the machine for what nobody waits for.
    four.reset();
    EXPECT_FALSE(bootAlarms()[0].starts_with("(3, ")) << bootAlarms()[0];
    eight.reset();
    EXPECT_EQ(bootAlarms()[0], "(0, 0)");
}

TEST_F(QtEventLoopTest, KeepsTheOrderOfWhatCountsTheTimeAsleep) {
    const auto start = BootAlarm::now();
    Seconds last = 0;
    std::vector<int> order;
    const auto third = loop.afterAwakeOrAsleep(0.02, [&] {
        order.push_back(3);
        last = BootAlarm::now() - start;
    });
    const auto first = loop.afterAwakeOrAsleep(0, [&] { order.push_back(1); });
    Subscription second;
    second = loop.afterAwakeOrAsleep(0.01, [&, kept = std::string(100, 'x')] {
        second.reset();
        order.push_back(kept.size() == 100 ? 2 : -1);
    });
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(runUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
    EXPECT_GE(last, 0.02);
    EXPECT_EQ(bootAlarms().at(0), "(0, 0)");
}

TEST_F(QtEventLoopTest, TellsTheWallClockSince2001) {
    const auto unix =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    EXPECT_NEAR(loop.now().seconds, unix - 978307200.0, 5);
}

} // namespace
} // namespace velmoran
