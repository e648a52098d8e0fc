#include "app/web/WebAddresses.h"

#include <algorithm>
#include <cctype>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(WebAddresses, AskTheVersionFileAndShowPagesInTheChosenLanguage) {
    const WebAddresses web("velmoran.example");
    EXPECT_EQ(web.versionFile(), "https://velmoran.example/velmoran/version.json");
    EXPECT_EQ(web.productPage("en"), "https://velmoran.example/velmoran");
    EXPECT_EQ(web.productPage("de"), "https://velmoran.example/de/velmoran");
    EXPECT_EQ(web.imprint("de"), "https://velmoran.example/de/imprint");
    EXPECT_EQ(web.privacyPolicy("fr"), "https://velmoran.example/privacy");
}

TEST(WebAddresses, FillTheVersionInForTheFeedback) {
    const WebAddresses web("velmoran.example");
    EXPECT_EQ(web.feedback("en", "1.2", "345"),
              "https://velmoran.example/velmoran/feedback?v=1.2&b=345");
    EXPECT_EQ(web.feedback("de", "1.2", "345"),
              "https://velmoran.example/de/velmoran/feedback?v=1.2&b=345");
}

TEST(WebAddresses, HaveEmptyItemsForWhatIsMissing) {
    EXPECT_EQ(WebAddresses("velmoran.example").feedback("en", "", ""),
              "https://velmoran.example/velmoran/feedback?v=&b=");
}

TEST(WebAddresses, LetNoVersionReachBeyondItsItem) {
    EXPECT_EQ(WebAddresses("velmoran.example").feedback("en", "1 &b=2#\xC3\xA4", "+"),
              "https://velmoran.example/velmoran/feedback?v=1%20%26b%3D2%23%C3%A4&b=%2B");
}

TEST(WebAddresses, HaveAPortWhereTheHostHasOne) {
    EXPECT_EQ(WebAddresses("localhost:8443").versionFile(),
              "https://localhost:8443/velmoran/version.json");
}

TEST(WebAddresses, OfThisBuildAreThoseOfItsHost) {
    const std::string host = VELMORAN_WEB_HOST;
    const auto built = WebAddresses::ofThisBuild();
    ASSERT_EQ(built.has_value(), !host.empty());
    if (built) {
        EXPECT_EQ(built->versionFile(), "https://" + host + "/velmoran/version.json");
    }
}

TEST(WebAddresses, TheBuildNumberIsANumberIfItIsKnown) {
    const auto build = WebAddresses::buildNumber();
    EXPECT_TRUE(std::all_of(build.begin(), build.end(), [](unsigned char each) {
        return std::isdigit(each) != 0;
    })) << build;
}

} // namespace
} // namespace velmoran
