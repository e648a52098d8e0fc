#include "core/base/Wildcard.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(Wildcard, WithoutAStarIsTheTextItself) {
    EXPECT_TRUE(matchesWildcard("/usr/bin/pipewire", "/usr/bin/pipewire"));
    EXPECT_FALSE(matchesWildcard("/usr/bin/pipewire", "/usr/bin/pipewire-pulse"));
    EXPECT_TRUE(matchesWildcard("", ""));
}

TEST(Wildcard, LeavesOnePartOpen) {
    EXPECT_TRUE(matchesWildcard("/usr/lib/*/portal", "/usr/lib/x86_64-linux-gnu/portal"));
    EXPECT_TRUE(matchesWildcard("gsd-*", "gsd-power"));
    EXPECT_FALSE(matchesWildcard("gsd-*", "gsd-")) << "something has to stand there";
    EXPECT_FALSE(matchesWildcard("aba*aba", "ababa")) << "the two ends don't share characters";
}

TEST(Wildcard, StaysInItsFolder) {
    EXPECT_FALSE(matchesWildcard("/usr/lib/*/portal", "/usr/lib/a/b/portal"));
}

} // namespace
} // namespace velmoran
