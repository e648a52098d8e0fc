#include "core/base/AppVersion.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using AppVersion::isNewer;

/// Neither is newer than the other.
bool areEqual(std::string_view left, std::string_view right) {
    return !isNewer(left, right) && !isNewer(right, left);
}

bool isNewerOnly(std::string_view candidate, std::string_view current) {
    return isNewer(candidate, current) && !isNewer(current, candidate);
}

TEST(AppVersion, ComparesNumbersAndNotTexts) {
    EXPECT_TRUE(isNewerOnly("1.10", "1.9"));
    EXPECT_TRUE(isNewerOnly("2.0", "1.99.99"));
    EXPECT_TRUE(isNewerOnly("10", "9"));
    EXPECT_TRUE(areEqual("1.9", "1.9"));
    EXPECT_TRUE(areEqual("1.09", "1.9"));
}

TEST(AppVersion, CountsAMissingPlaceAsZero) {
    EXPECT_TRUE(areEqual("1.10", "1.10.0"));
    EXPECT_TRUE(areEqual("1.2", "1.2.0.0"));
    EXPECT_TRUE(isNewerOnly("1.2.0.1", "1.2"));
    EXPECT_TRUE(areEqual("", "0"));
    EXPECT_TRUE(areEqual("", "0.0"));
    EXPECT_TRUE(isNewerOnly("0.0.1", ""));
}

TEST(AppVersion, SeesSeveralPointsAsOne) {
    EXPECT_TRUE(areEqual("1..2", "1.2"));
    EXPECT_TRUE(areEqual("...1.2..", "1.2"));
    EXPECT_TRUE(areEqual("...", ""));
    EXPECT_TRUE(isNewerOnly("1..3", "1.2.9"));
}

TEST(AppVersion, ReadsTheDigitsAtTheStartOfAPiece) {
    EXPECT_TRUE(areEqual("1.2beta", "1.2"));
    EXPECT_TRUE(areEqual("1.beta", "1.0"));
    EXPECT_TRUE(areEqual("1.beta2", "1.0"));
    EXPECT_TRUE(areEqual("v2", "0"));
    EXPECT_TRUE(areEqual("1.-5", "1.0"));
    EXPECT_TRUE(areEqual("1. 5", "1.0"));
    EXPECT_TRUE(areEqual("1.+5", "1.0"));
    EXPECT_TRUE(isNewerOnly("1.3beta9", "1.2"));
}

TEST(AppVersion, CountsWhatDoesNotFitAsZero) {
    EXPECT_TRUE(areEqual("1.9223372036854775808", "1.0"));
    EXPECT_TRUE(isNewerOnly("1.9223372036854775807", "1.9223372036854775806"));
    EXPECT_TRUE(areEqual("1.99999999999999999999999999999999", "1"));
    EXPECT_TRUE(areEqual("1.00000000000000000000000000000007", "1.7"));
}

} // namespace
} // namespace velmoran
