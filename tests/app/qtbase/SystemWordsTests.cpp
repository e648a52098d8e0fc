#include "app/qtbase/SystemWords.h"

#include "app/model/MemorySettings.h"
#include "app/model/SettingsStore.h"
#include "core/text/Localizer.h"
#include "core/text/ZoneSource.h"

#include <QByteArray>
#include <gmock/gmock.h>
#include <map>

namespace velmoran {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::StartsWith;

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

TEST_F(SystemWords, AreInTheSystemsLanguageAgainOnceNoneIsChosen) {
    setSystemWords(settings, Platform::linux);
    const auto systems = words().text("Stop");
    for (const char* language : {"de", "en"}) { // one of them isn't the system's
        SettingsStore(settings).language.set(language);
        setSystemWords(settings, Platform::linux);
        EXPECT_EQ(words().text("Stop"), language == std::string("de") ? "Stoppen" : "Stop");
        SettingsStore(settings).language.set(std::nullopt);
        setSystemWords(settings, Platform::linux);
        EXPECT_EQ(words().text("Stop"), systems);
    }
}

/// Variables of the environment as long as they live, and none of the others that say a language.
class Environment {
public:
    explicit Environment(const std::map<QByteArray, QByteArray>& wanted) {
        for (const char* name :
             {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LC_NUMERIC", "LC_TIME", "LANG"}) {
            before_[name] = qgetenv(name);
            const auto found = wanted.find(name);
            found == wanted.end() ? qunsetenv(name) : qputenv(name, found->second);
        }
    }
    ~Environment() {
        for (const auto& [name, value] : before_) {
            value.isNull() ? qunsetenv(name) : qputenv(name, value);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    std::map<QByteArray, QByteArray> before_;
};

constexpr Timestamp eveningInBerlin{794165400};

TEST_F(SystemWords, FollowTheLanguageAndTheirTimesTheDesktopsTimes) {
    const auto zone = qgetenv("TZ");
    qputenv("TZ", "Europe/Berlin");
    const auto shown = [&] {
        setSystemWords(settings, Platform::linux);
        return words().text("Stop") + " " + words().shortTime(eveningInBerlin) + " " +
               words().shortWeekday(eveningInBerlin);
    };
    {
        const Environment english({{"LANG", "en_US.UTF-8"}, {"LC_TIME", "de_DE.UTF-8"}});
        EXPECT_EQ(shown(), "Stop 18:30 Mon");
    }
    {
        const Environment german({{"LANG", "de_DE.UTF-8"}, {"LC_TIME", "en_US.UTF-8"}});
        EXPECT_THAT(shown(), AllOf(StartsWith("Stoppen 6:30"), EndsWith("PM Mo")));
    }
    {
        const Environment numbers({{"LANG", "en_GB.UTF-8"}, {"LC_NUMERIC", "de_DE.UTF-8"}});
        EXPECT_EQ(shown(), "Stop 18:30 Mon");
    }
    {
        const Environment all(
            {{"LANG", "en_US.UTF-8"}, {"LC_TIME", "en_US.UTF-8"}, {"LC_ALL", "de_AT.UTF-8"}});
        EXPECT_EQ(shown(), "Stoppen 18:30 Mo");
    }
    {
        settings.setTexts("AppleLanguages", {"de"});
        const Environment chosen({{"LANG", "en_US.UTF-8"}, {"LC_TIME", "en_GB.UTF-8"}});
        EXPECT_EQ(shown(), "Stoppen 18:30 Mo");
    }
    zone.isNull() ? qunsetenv("TZ") : qputenv("TZ", zone);
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
