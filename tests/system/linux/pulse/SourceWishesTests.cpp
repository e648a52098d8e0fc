#include "system/linux/pulse/SourceWishes.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

TEST(SourceWishes, KnowTheLastWishUntilItsSpanIsOver) {
    SourceWishes wishes;
    EXPECT_EQ(wishes.wanted(1), std::nullopt);
    wishes.set(1, true, hours(1));
    wishes.set(2, false, hours(1));
    wishes.set(3, true, milliseconds(-1));
    EXPECT_EQ(wishes.wanted(1), true);
    EXPECT_EQ(wishes.wanted(2), false);
    EXPECT_EQ(wishes.wanted(3), std::nullopt);
    wishes.forget(1);
    EXPECT_EQ(wishes.wanted(1), std::nullopt);
    wishes.clear();
    EXPECT_EQ(wishes.wanted(2), std::nullopt);
}

TEST(SourceWishes, BeginTheirSpanAnewWhenTheServerTakesThem) {
    SourceWishes wishes;
    wishes.set(1, true, milliseconds(-1));
    wishes.taken(1, false);
    EXPECT_EQ(wishes.wanted(1), std::nullopt) << "that was another wish";
    wishes.taken(1, true);
    EXPECT_EQ(wishes.wanted(1), true);
    wishes.taken(2, true);
    EXPECT_EQ(wishes.wanted(2), std::nullopt);
}

TEST(SourceWishes, AreRepeatedAFewTimes) {
    SourceWishes wishes;
    EXPECT_FALSE(wishes.mayRepeat(1));
    wishes.set(1, false, hours(1));
    for (int times = 0; times < SourceWishes::mostRepeats; ++times) {
        EXPECT_TRUE(wishes.mayRepeat(1));
    }
    EXPECT_FALSE(wishes.mayRepeat(1));
    EXPECT_EQ(wishes.wanted(1), std::nullopt) << "others may have it otherwise";
    wishes.set(1, false, milliseconds(-1));
    EXPECT_FALSE(wishes.mayRepeat(1));
}

} // namespace
} // namespace velmoran
