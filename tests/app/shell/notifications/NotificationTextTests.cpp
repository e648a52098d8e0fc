#include "app/shell/notifications/NotificationText.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(NotificationText, IsItselfWhereNobodyReadsMarkup) {
    EXPECT_EQ(notificationBody("Zoom & <Friends>", false), "Zoom & <Friends>");
    EXPECT_EQ(notificationTitle("Zoom & <Friends>"), "Zoom & <Friends>");
}

TEST(NotificationText, ShowsWhatLooksLikeMarkupAsItIs) {
    EXPECT_EQ(notificationBody("<b>Zoom</b> & \"co\"", true),
              "&lt;b&gt;Zoom&lt;/b&gt; &amp; &quot;co&quot;");
}

TEST(NotificationText, HasNothingThatLooksLikeAnAddress) {
    for (const bool markup : {false, true}) {
        const auto text =
            notificationBody("see HTTPS://a.example, www.a.example, MailTo:a@a.example", markup);
        EXPECT_EQ(text.find("://"), std::string::npos) << text;
        EXPECT_EQ(text.find("www."), std::string::npos) << text;
        EXPECT_EQ(text.find("mailto:"), std::string::npos) << text;
    }
}

TEST(NotificationText, HasNoAddressWithoutASchemeEither) {
    const std::string joiner = "\u2060";
    EXPECT_EQ(notificationBody("a.example/x WWW2.b", false),
              "a" + joiner + ".example/x WWW2" + joiner + ".b");
    const std::string noAddress = "take.py (~/bin) ended. 1.5 / 2, v.1/2";
    EXPECT_EQ(notificationBody(noAddress, false), noAddress);
}

TEST(NotificationText, IsOneLineInATitle) {
    EXPECT_EQ(notificationTitle("Zoom\nturned  on\tthe camera"), "Zoom turned on the camera");
}

} // namespace
} // namespace velmoran
