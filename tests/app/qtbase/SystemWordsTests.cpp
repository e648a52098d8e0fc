#include "app/qtbase/SystemWords.h"

#include "app/model/MemorySettings.h"
#include "core/text/Localizer.h"
#include "core/text/ZoneSource.h"

#include <QByteArray>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

struct SystemWords : ::testing::Test {
    MemorySettings settings;
    void TearDown() override {
        setWords(Localizer());
        setZoneSource(nullptr);
    }
};

TEST_F(SystemWords, AreInTheLanguageThatWasChosen) {
    settings.setTexts("AppleLanguages", {"de"});
    setSystemWords(settings, Platform::linux);
    EXPECT_EQ(words().text("Stop"), "Stoppen");
    settings.setTexts("AppleLanguages", {"en"});
    setSystemWords(settings, Platform::linux);
    EXPECT_EQ(words().text("Stop"), "Stop");
}

TEST_F(SystemWords, AChosenLanguageLeavesTheRegion) {
    EXPECT_EQ(localeOf("de_DE", "en"), "en_DE");
    EXPECT_EQ(localeOf("en_GB", "de"), "de_GB");
    EXPECT_EQ(localeOf("zh_Hans_CN", "en"), "en_CN");
    EXPECT_EQ(localeOf("de_AT", "de"), "de_AT");
    EXPECT_EQ(localeOf("de_AT", std::nullopt), "de_AT");
    EXPECT_EQ(localeOf("den_CA", "de"), "de_CA");
    EXPECT_EQ(localeOf("de", "en"), "en");
    EXPECT_EQ(localeOf("C", "de"), "de");
    EXPECT_EQ(localeOf("C", std::nullopt), "en_US");
}

TEST_F(SystemWords, EnglishInGermanyTellsTheTimeAsGermanyDoes) {
    const Localizer inGermany(localeOf("de_DE", "en"), "Europe/Berlin", {});
    EXPECT_EQ(inGermany.shortTime({794165400}), "18:30");
    const Localizer inTheStates(localeOf("en_US", "en"), "Europe/Berlin", {});
    EXPECT_THAT(inTheStates.shortTime({794165400}), ::testing::EndsWith("PM"));
}

TEST_F(SystemWords, AreThoseOfThePlatform) {
    settings.setTexts("AppleLanguages", {"de"});
    const auto* key = "%@ is part of macOS, so Velmoran didn't close it.";
    setSystemWords(settings, Platform::linux);
    EXPECT_EQ(words().text(key, {"Siri"}),
              "Siri gehört zum System und wurde deshalb nicht von Velmoran beendet.");
    setSystemWords(settings, Platform::macOS);
    EXPECT_EQ(words().text(key, {"Siri"}),
              "Siri gehört zu macOS und wurde deshalb nicht von Velmoran beendet.");
}

TEST_F(SystemWords, FollowTheTimeZoneOnlyWhenTold) {
    const auto before = qgetenv("TZ");
    settings.setTexts("AppleLanguages", {"de"});
    qputenv("TZ", "Europe/Berlin");
    setSystemWords(settings, Platform::linux);
    EXPECT_EQ(words().shortTime({794136600}), "10:30");
    qputenv("TZ", "Asia/Tokyo");
    EXPECT_EQ(words().shortTime({794136600}), "10:30");
    followSystemZone();
    EXPECT_EQ(words().shortTime({794136600}), "18:30");
    qputenv("TZ", "Europe/Berlin");
    EXPECT_EQ(words().shortTime({794136600}), "10:30");
    before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
}

TEST_F(SystemWords, DoNotWriteSettings) {
    setSystemWords(settings, Platform::linux);
    EXPECT_EQ(settings.texts("AppleLanguages"), std::nullopt);
}

} // namespace
} // namespace velmoran
