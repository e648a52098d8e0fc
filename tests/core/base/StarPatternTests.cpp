#include "core/base/StarPattern.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(StarPattern, WithoutAStarIsTheTextItself) {
    EXPECT_TRUE(matchesStar("/usr/bin/pipewire", "/usr/bin/pipewire"));
    EXPECT_FALSE(matchesStar("/usr/bin/pipewire", "/usr/bin/pipewire-pulse"));
    EXPECT_TRUE(matchesStar("", ""));
}

TEST(StarPattern, LeavesOnePartOpen) {
    EXPECT_TRUE(matchesStar("/usr/lib/*/portal", "/usr/lib/x86_64-linux-gnu/portal"));
    EXPECT_TRUE(matchesStar("gsd-*", "gsd-power"));
    EXPECT_FALSE(matchesStar("gsd-*", "gsd-")) << "something has to stand there";
    EXPECT_FALSE(matchesStar("aba*aba", "ababa")) << "the two ends don't share characters";
}

TEST(StarPattern, StaysInItsFolder) {
    EXPECT_FALSE(matchesStar("/usr/lib/*/portal", "/usr/lib/a/b/portal"));
}

} // namespace
} // namespace velmoran
