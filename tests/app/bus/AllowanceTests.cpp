#include "app/bus/Allowance.h"

#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(Allowance, LetsSoManyThroughAtOnceAndThenOneAnInterval) {
    ScriptedTime time;
    Allowance allowance(time, 3, 2.0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(allowance.take());
    }
    EXPECT_FALSE(allowance.take());
    time.advanceBy(2);
    EXPECT_TRUE(allowance.take());
    EXPECT_FALSE(allowance.take());
    time.advanceBy(100);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(allowance.take());
    }
    EXPECT_FALSE(allowance.take());
}

} // namespace
} // namespace velmoran
