#include "system/TextParsing.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(IsListed, FindsWholeNamesOnly) {
    constexpr auto names = "lua luajit kde-open kde-open5";
    for (const auto* name : {"lua", "luajit", "kde-open", "kde-open5"}) {
        EXPECT_TRUE(isListed(name, names)) << name;
    }
    for (const auto* name :
         {"", " ", "l", "ua", "jit", "open", "kde-", "open5", "lua luajit", "kde-open55", "lua "}) {
        EXPECT_FALSE(isListed(name, names)) << name;
    }
}

TEST(IsListed, OfNoNamesIsNothing) {
    EXPECT_FALSE(isListed("", ""));
    EXPECT_FALSE(isListed("sh", ""));
}

} // namespace
} // namespace velmoran
