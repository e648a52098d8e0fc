#include "system/macos/AppBundlePath.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(AppBundlePath, GivesTheOutermostOfNestedBundles) {
    EXPECT_EQ(enclosingAppBundle("/Applications/Big.app/Contents/Frameworks/Big Helper.app/"
                                 "Contents/MacOS/Big Helper"),
              "/Applications/Big.app");
}

TEST(AppBundlePath, GivesNothingOutsideAnyBundle) {
    EXPECT_FALSE(enclosingAppBundle("/usr/bin/afplay"));
    EXPECT_FALSE(enclosingAppBundle(""));
    EXPECT_FALSE(enclosingAppBundle("///"));
    EXPECT_FALSE(enclosingAppBundle("/Applications/Big.APP/Contents"));
    EXPECT_FALSE(enclosingAppBundle("/Applications/Big.apple/Contents"));
}

TEST(AppBundlePath, MakesRepeatedSlashesSingle) {
    EXPECT_EQ(enclosingAppBundle("//Applications///My App.app//Contents"),
              "/Applications/My App.app");
    EXPECT_EQ(enclosingAppBundle("/Applications/My App.app/"), "/Applications/My App.app");
}

TEST(AppBundlePath, TakesAPieceThatIsNothingButTheEnding) {
    EXPECT_EQ(enclosingAppBundle("/tmp/.app/x"), "/tmp/.app");
}

TEST(AppBundlePath, TakesTheExactEndingOffADisplayName) {
    EXPECT_EQ(withoutAppExtension("Music.app"), "Music");
    EXPECT_EQ(withoutAppExtension("Music"), "Music");
    EXPECT_EQ(withoutAppExtension("Music.APP"), "Music.APP");
    EXPECT_EQ(withoutAppExtension("Music.app.app"), "Music.app");
}

} // namespace
} // namespace velmoran
