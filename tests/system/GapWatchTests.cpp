#include "system/GapWatch.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

constexpr Timestamp morning{1000};

struct Gaps : ::testing::Test {
    GapWatch::Moment moment{.time = morning, .boot = 50};
    int kept = 0;

    GapWatch watch(std::optional<Timestamp> before = {}) {
        return GapWatch(2.0, {.now = [this] { return moment; },
                              .before = before,
                              .keep =
                                  [this] {
                                      ++kept;
                                  }});
    }
    void pass(Seconds seconds) {
        moment.time = moment.time + seconds;
        moment.boot += seconds;
    }
};

TEST_F(Gaps, AreNoneWhileItIsLookedInTime) {
    auto gaps = watch();
    for (const Seconds seconds : {0.0, 2.0, 0.1, 2.9, 2.0}) {
        pass(seconds);
        gaps.noteLook();
        EXPECT_FALSE(gaps.last()) << seconds;
    }
}

TEST_F(Gaps, LastFromTheLookBeforeToTheOneAfter) {
    auto gaps = watch();
    gaps.noteLook();
    pass(2.0);
    gaps.noteLook();
    pass(60.0);
    gaps.noteLook();
    EXPECT_EQ(gaps.last(), (WatchGap{morning + 2.0, morning + 62.0}));
    pass(2.0);
    gaps.noteLook();
    EXPECT_EQ(gaps.last(), (WatchGap{morning + 2.0, morning + 62.0})) << "it is the last one";
    pass(4.0);
    gaps.noteLook();
    EXPECT_EQ(gaps.last(), (WatchGap{morning + 64.0, morning + 68.0}));
}

TEST_F(Gaps, AreNotMadeByAClockThatIsSet) {
    auto gaps = watch();
    gaps.noteLook();
    pass(2.0);
    moment.time = moment.time + 86400.0;
    gaps.noteLook();
    EXPECT_FALSE(gaps.last());
    pass(2.0);
    moment.time = morning;
    gaps.noteLook();
    EXPECT_FALSE(gaps.last());
    pass(10.0);
    moment.time = morning - 500.0;
    gaps.noteLook();
    EXPECT_EQ(gaps.last(), (WatchGap{morning - 510.0, morning - 500.0})) << "of its real length";
}

TEST_F(Gaps, AreKnownOfTheTimeBeforeTheStart) {
    auto gaps = watch(morning - 300.0);
    gaps.noteLook();
    EXPECT_EQ(gaps.last(), (WatchGap{morning - 300.0, morning}));
}

TEST_F(Gaps, AreNoneWhereAnotherWatchedUntilTheStart) {
    auto gaps = watch(morning - 2.0);
    gaps.noteLook();
    EXPECT_FALSE(gaps.last());
    auto unknown = watch();
    unknown.noteLook();
    EXPECT_FALSE(unknown.last());
    auto later = watch(morning + 60.0); // the clock was set back meanwhile
    later.noteLook();
    EXPECT_FALSE(later.last());
}

TEST_F(Gaps, KeepTheMomentAtMostOnceASecond) {
    auto gaps = watch();
    gaps.noteLook();
    EXPECT_EQ(kept, 1);
    for (int look = 0; look < 100; ++look) {
        pass(0.001);
        gaps.noteLook();
    }
    EXPECT_EQ(kept, 1);
    pass(1.0);
    gaps.noteLook();
    EXPECT_EQ(kept, 2);
}

} // namespace
} // namespace velmoran
