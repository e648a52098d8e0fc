#include "core/stopping/BrowserQuestion.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(BrowserQuestion, AsksAboutOneBrowser) {
    const BrowserQuestion question{.browsers = {"Firefox"}, .keepOffered = false};
    EXPECT_EQ(question.message(), "Close Firefox?");
    EXPECT_EQ(question.text(),
              "This closes all tabs and windows of Firefox, not only the page that is using the "
              "camera or microphone. Work you have not saved there may be lost.");
    EXPECT_EQ(question.closeButton(), "Close Firefox");
    EXPECT_EQ(question.cancelButton(), "Cancel");
}

TEST(BrowserQuestion, OffersToKeepSeveral) {
    const BrowserQuestion question{.browsers = {"Firefox", "Chromium", "Surf"},
                                   .keepOffered = true};
    EXPECT_EQ(question.message(), "Close Firefox, Chromium, and Surf?");
    EXPECT_EQ(question.text(),
              "This closes all tabs and windows of Firefox, Chromium, and Surf, not only the page "
              "that is using the camera or microphone. Work you have not saved there may be lost. "
              "If you keep it open, the microphone is still muted and other apps are closed, but "
              "Firefox, Chromium, and Surf may go on using the camera.");
    EXPECT_EQ(question.closeButton(), "Close Firefox, Chromium, and Surf");
    EXPECT_EQ(question.keepButton(), "Stop the rest, keep Firefox, Chromium, and Surf open");
}

} // namespace
} // namespace velmoran
