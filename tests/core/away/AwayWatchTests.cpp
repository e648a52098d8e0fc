#include "core/away/AwayWatch.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace velmoran {
namespace {

using What = AwayEventKind;
using Times = std::vector<double>;

struct AwayWatchTest : ::testing::Test {
    AwayWatch watch;

    void SetUp() override { watch.begin({0}, true); }
    bool record(What kind, double time, const std::optional<std::string>& detail = {}) {
        return watch.record(kind, detail, {time});
    }
    static Times timesOf(const std::vector<AwayEvent>& events) {
        Times times;
        std::ranges::transform(events, std::back_inserter(times),
                               [](const auto& event) { return event.time.seconds; });
        return times;
    }
    Times times() const { return timesOf(watch.current->events); }
};

// MARK: - Beginning and settling

TEST(AwayWatch, DoesNothingBeforeItHasBegun) {
    AwayWatch watch;
    EXPECT_FALSE(watch.isWatching());
    EXPECT_FALSE(watch.record(What::lidClosed, {}, {5}));
    watch.noteSleep();
    watch.endSettling();
    EXPECT_EQ(watch.finish({6}, true), std::nullopt);
    EXPECT_EQ(watch, AwayWatch());
}

TEST(AwayWatch, BeginsAnEmptyReport) {
    AwayWatch watch;
    watch.begin({7}, false);
    ASSERT_TRUE(watch.isWatching());
    EXPECT_EQ(watch.current->start, Timestamp{7});
    EXPECT_EQ(watch.current->end, std::nullopt);
    EXPECT_TRUE(watch.current->isEmpty());
    EXPECT_TRUE(watch.current->ownReturn.empty());
    EXPECT_FALSE(watch.current->slept);
    EXPECT_EQ(watch.settlingUntil, Timestamp{17});
}

TEST(AwayWatch, ChangesNothingIfItBeginsASecondTime) {
    AwayWatch watch;
    watch.begin({7}, false);
    watch.record(What::lidClosed, {}, {8});
    const auto before = watch;
    watch.begin({9}, true);
    EXPECT_EQ(watch, before);
    watch.begin({9}, false);
    EXPECT_EQ(watch, before);
}

TEST(AwayWatch, DropsKeyboardAndMouseWhileItSettles) {
    AwayWatch watch;
    watch.begin({0}, false);
    EXPECT_FALSE(watch.record(What::keyboardUsed, {}, {9.9}));
    EXPECT_FALSE(watch.record(What::mouseUsed, {}, {9.9}));
    EXPECT_TRUE(watch.record(What::lidOpened, {}, {9.9}));
    EXPECT_TRUE(watch.record(What::keyboardUsed, {}, {10}));
    EXPECT_TRUE(watch.record(What::mouseUsed, {}, {10}));
}

TEST(AwayWatch, HeedsTheKeyboardOnceItsSettlingIsEnded) {
    AwayWatch watch;
    watch.begin({0}, false);
    watch.endSettling();
    EXPECT_EQ(watch.settlingUntil, std::nullopt);
    EXPECT_TRUE(watch.record(What::keyboardUsed, {}, {0}));
}

TEST_F(AwayWatchTest, HeedsTheKeyboardAtOnceOnALockedScreen) {
    EXPECT_EQ(watch.settlingUntil, std::nullopt);
    EXPECT_TRUE(record(What::keyboardUsed, 0));
}

TEST_F(AwayWatchTest, DoesNotSettleAgainAsTheLastWatchDid) {
    watch.finish({5}, true);
    watch.begin({6}, false);
    watch.finish({7}, true);
    EXPECT_EQ(watch.settlingUntil, Timestamp{16});
    watch.begin({8}, true);
    EXPECT_EQ(watch.settlingUntil, std::nullopt);
}

// MARK: - Recording

TEST_F(AwayWatchTest, TellsOfSteadyTypingOnceAMinute) {
    for (const double second : {0, 30, 59, 60, 61}) {
        EXPECT_EQ(record(What::keyboardUsed, second), second == 0 || second == 60) << second;
    }
    EXPECT_EQ(times(), (Times{0, 60}));
    for (int second = 62; second <= 300; ++second) {
        record(What::keyboardUsed, second);
    }
    EXPECT_EQ(times(), (Times{0, 60, 120, 180, 240, 300}));
}

TEST_F(AwayWatchTest, GroupsKeyboardAndMouseEachByItself) {
    EXPECT_TRUE(record(What::keyboardUsed, 0));
    EXPECT_TRUE(record(What::mouseUsed, 1));
    EXPECT_FALSE(record(What::keyboardUsed, 59.9));
    EXPECT_TRUE(record(What::keyboardUsed, 60));
    EXPECT_FALSE(record(What::mouseUsed, 60));
    EXPECT_TRUE(record(What::mouseUsed, 61));
}

TEST_F(AwayWatchTest, HoldsOtherRepeatsOffForTwoSeconds) {
    EXPECT_TRUE(record(What::lidOpened, 0));
    EXPECT_FALSE(record(What::lidOpened, 1));
    EXPECT_TRUE(record(What::lidOpened, 2));
    EXPECT_EQ(times(), (Times{0, 2}));
}

TEST_F(AwayWatchTest, TellsDifferentDetailsApart) {
    EXPECT_TRUE(record(What::devicePluggedIn, 0, "A"));
    EXPECT_TRUE(record(What::devicePluggedIn, 0, "B"));
    EXPECT_FALSE(record(What::devicePluggedIn, 0, "A"));
    EXPECT_TRUE(record(What::devicePluggedIn, 0));
    EXPECT_FALSE(record(What::devicePluggedIn, 1));
    EXPECT_TRUE(record(What::devicePluggedIn, 1, ""));
    EXPECT_TRUE(record(What::devicePluggedIn, 2, "A"));
    EXPECT_EQ(watch.current->events.size(), 5U);
}

TEST_F(AwayWatchTest, TellsKindsOfOneDetailApart) {
    EXPECT_TRUE(record(What::cameraUsed, 0, "Zoom"));
    EXPECT_TRUE(record(What::microphoneUsed, 0, "Zoom"));
    EXPECT_TRUE(record(What::cameraUsed, 0, "Cheese"));
    EXPECT_FALSE(record(What::cameraUsed, 1, "Zoom"));
}

TEST_F(AwayWatchTest, KeepsWhatItRecords) {
    EXPECT_TRUE(record(What::lidMoved, 3, "12 47"));
    const auto& event = watch.current->events.front();
    EXPECT_EQ(event.kind, What::lidMoved);
    EXPECT_EQ(event.time, Timestamp{3});
    EXPECT_EQ(event.detail, "12 47");
    record(What::lidMoved, 3, "47 12");
    EXPECT_NE(watch.current->events[0].id, watch.current->events[1].id);
}

TEST_F(AwayWatchTest, TakesSleepForNoEvent) {
    EXPECT_FALSE(record(What::wentToSleep, 5));
    EXPECT_TRUE(watch.current->isEmpty());
    EXPECT_FALSE(watch.current->slept);
    watch.noteSleep();
    watch.noteSleep();
    EXPECT_TRUE(watch.current->slept);
    EXPECT_TRUE(watch.current->isEmpty());
}

// MARK: - The own return

TEST_F(AwayWatchTest, SetsTheOwnReturnApart) {
    EXPECT_TRUE(record(What::mouseUsed, 89.9));
    EXPECT_TRUE(record(What::keyboardUsed, 90));
    EXPECT_TRUE(record(What::lidClosed, 99));
    const auto report = watch.finish({100}, true);
    ASSERT_TRUE(report);
    EXPECT_FALSE(watch.isWatching());
    EXPECT_EQ(report->end, Timestamp{100});
    EXPECT_EQ(timesOf(report->ownReturn), Times{90});
    EXPECT_EQ(timesOf(report->events), (Times{89.9, 99}));
}

TEST_F(AwayWatchTest, LeavesTheKeyboardBeforeTheWindowInTheReport) {
    record(What::keyboardUsed, 89.9);
    const auto report = watch.finish({100}, true);
    EXPECT_EQ(timesOf(report->events), Times{89.9});
    EXPECT_TRUE(report->ownReturn.empty());
}

TEST_F(AwayWatchTest, TakesFourKindsAloneForTheOwnReturn) {
    int second = 91;
    for (int kind = 0; kind <= static_cast<int>(What::microphoneUsed); ++kind) {
        if (What(kind) != What::wentToSleep) {
            EXPECT_TRUE(record(What(kind), second));
            second = second == 99 ? 99 : second + 1;
        }
    }
    const auto report = watch.finish({100}, true);
    const auto kindsOf = [](const std::vector<AwayEvent>& events) {
        std::vector<What> kinds;
        std::ranges::transform(events, std::back_inserter(kinds), &AwayEvent::kind);
        return kinds;
    };
    EXPECT_EQ(kindsOf(report->ownReturn),
              (std::vector{What::keyboardUsed, What::mouseUsed, What::lidOpened, What::wokeUp}));
    EXPECT_EQ(
        kindsOf(report->events),
        (std::vector{What::lidClosed, What::lidMoved, What::powerConnected, What::powerRemoved,
                     What::devicePluggedIn, What::cameraUsed, What::microphoneUsed}));
}

TEST_F(AwayWatchTest, LeavesEverythingInTheReportIfTheOwnReturnCounts) {
    record(What::keyboardUsed, 95);
    record(What::lidOpened, 96);
    const auto report = watch.finish({100}, false);
    EXPECT_EQ(timesOf(report->events), (Times{95, 96}));
    EXPECT_TRUE(report->ownReturn.empty());
    EXPECT_EQ(report->end, Timestamp{100});
}

TEST_F(AwayWatchTest, FinishesOnce) {
    watch.noteSleep();
    const auto report = watch.finish({100}, true);
    EXPECT_TRUE(report->slept);
    EXPECT_EQ(watch.finish({101}, true), std::nullopt);
    EXPECT_FALSE(record(What::lidClosed, 102));
    watch.begin({103}, true);
    EXPECT_NE(watch.current->id, report->id);
    EXPECT_FALSE(watch.current->slept);
}

} // namespace
} // namespace velmoran
