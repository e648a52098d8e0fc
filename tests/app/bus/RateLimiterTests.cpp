#include "app/bus/RateLimiter.h"

#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(RateLimiter, LetsSoManyThroughAtOnceAndThenOneAnInterval) {
    ScriptedTime time;
    RateLimiter limiter(time, 3, 2.0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(limiter.allow());
    }
    EXPECT_FALSE(limiter.allow());
    time.advanceBy(2);
    EXPECT_TRUE(limiter.allow());
    EXPECT_FALSE(limiter.allow());
    time.advanceBy(100);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(limiter.allow());
    }
    EXPECT_FALSE(limiter.allow());
}

} // namespace
} // namespace velmoran
