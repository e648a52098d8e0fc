#include "app/model/SettingsStore.h"

#include "app/model/MemorySettings.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(SettingsStore, GivesAFreshUserTheDefaultsAndWritesNone) {
    MemorySettings memory;
    const SettingsStore settings(memory);
    EXPECT_EQ(*settings.retentionDays, 90);
    EXPECT_TRUE(*settings.warningSoundOn);
    EXPECT_FALSE(*settings.standardNoticesStay);
    EXPECT_TRUE(*settings.speakerAutoMute);
    EXPECT_FALSE(*settings.monitorSpeakerUse);
    EXPECT_TRUE(*settings.hideSystemSounds);
    EXPECT_TRUE(*settings.ignoreSystemListening);
    EXPECT_FALSE(*settings.floatingStopButton);
    EXPECT_FALSE(*settings.stopShortcutOn);
    EXPECT_TRUE(*settings.confirmClosingBrowser);
    EXPECT_EQ(*settings.floatingStopPlace, std::nullopt);
    EXPECT_TRUE(*settings.ignoreOwnReturn);
    EXPECT_FALSE(*settings.awayWatchOnLock);
    EXPECT_FALSE(*settings.microphoneMuted);
    EXPECT_EQ(*settings.mutedByVelmoran, std::nullopt);
    EXPECT_FALSE(*settings.onboardingDone);
    EXPECT_EQ(*settings.trustRulesData, std::nullopt);
    EXPECT_EQ(*settings.language, std::nullopt);
    EXPECT_TRUE(memory.isEmpty());
}

TEST(SettingsStore, WritesAFieldThroughAndReadsItBackAtTheNextStart) {
    MemorySettings memory;
    {
        SettingsStore settings(memory);
        settings.retentionDays.set(30);
        settings.warningSoundOn.set(false);
        settings.floatingStopPlace.set(Point{12.5, -3});
        settings.trustRulesData.set("{\"rules\":[]}");
        settings.language.set("de");
    }
    const SettingsStore settings(memory);
    EXPECT_EQ(*settings.retentionDays, 30);
    EXPECT_FALSE(*settings.warningSoundOn);
    EXPECT_EQ(*settings.floatingStopPlace, (Point{12.5, -3}));
    EXPECT_EQ(*settings.trustRulesData, "{\"rules\":[]}");
    EXPECT_EQ(*settings.language, "de");
}

TEST(SettingsStore, NotifiesOfUnequalValuesOnly) {
    MemorySettings memory;
    SettingsStore settings(memory);
    int heard = 0;
    const auto subscription = settings.retentionDays.subscribe([&](int days) {
        ++heard;
        EXPECT_EQ(days, 30);
    });
    settings.retentionDays.set(90);
    EXPECT_EQ(heard, 0);
    EXPECT_EQ(memory.integer("retentionDays"), 90) << "chosen by the user now, so it is written";
    settings.retentionDays.set(30);
    EXPECT_EQ(heard, 1);
}

TEST(SettingsStore, ReadsAPlaceOfAnythingButTwoNumbersAsAbsent) {
    for (const std::vector<double>& numbers :
         {std::vector<double>{}, std::vector<double>{1}, std::vector<double>{1, 2, 3}}) {
        MemorySettings memory;
        memory.setNumbers("floatingStopPlace", numbers);
        EXPECT_EQ(*SettingsStore(memory).floatingStopPlace, std::nullopt);
    }
    MemorySettings memory;
    memory.setTexts("floatingStopPlace", {"left", "top"});
    EXPECT_EQ(*SettingsStore(memory).floatingStopPlace, std::nullopt);
}

TEST(SettingsStore, RemovesTheKeyOfAnAbsentValue) {
    MemorySettings memory;
    SettingsStore settings(memory);
    settings.floatingStopPlace.set(Point{1, 2});
    settings.language.set("de");
    settings.trustRulesData.set("x");
    settings.floatingStopPlace.set(std::nullopt);
    settings.language.set(std::nullopt);
    settings.trustRulesData.set(std::nullopt);
    EXPECT_TRUE(memory.isEmpty());
}

TEST(SettingsStore, TakesTheLanguageByItsPrefixFromTheFirstEntry) {
    const auto languageFor = [](const std::vector<std::string>& list) {
        MemorySettings memory;
        memory.setTexts("AppleLanguages", list);
        return *SettingsStore(memory).language;
    };
    EXPECT_EQ(languageFor({"de-AT", "en"}), "de");
    EXPECT_EQ(languageFor({"en-GB"}), "en");
    EXPECT_EQ(languageFor({"fr"}), std::nullopt);
    EXPECT_EQ(languageFor({"fr", "de"}), std::nullopt);
    EXPECT_EQ(languageFor({}), std::nullopt);
}

TEST(SettingsStore, TakesTheDefaultForAWrongType) {
    MemorySettings memory;
    memory.setTexts("retentionDays", {"many"});
    memory.setNumbers("warningSoundOn", {1});
    memory.setBoolean("trustRules", true);
    memory.setBytes("AppleLanguages", "de");
    memory.setInteger("monitorSpeakerUse", 7);
    const SettingsStore settings(memory);
    EXPECT_EQ(*settings.retentionDays, 90);
    EXPECT_TRUE(*settings.warningSoundOn);
    EXPECT_EQ(*settings.trustRulesData, std::nullopt);
    EXPECT_EQ(*settings.language, std::nullopt);
    EXPECT_FALSE(*settings.monitorSpeakerUse);
}

TEST(SettingsStore, KeepsWhichMicrophonesAreMutedHere) {
    MemorySettings memory;
    const MutedPlaces places = {{.name = "a, \"b\"", .port = ""}, {.name = "c", .port = "d"}};
    SettingsStore(memory).mutedByVelmoran.set(places);
    EXPECT_EQ(*SettingsStore(memory).mutedByVelmoran, places);
    SettingsStore(memory).mutedByVelmoran.set(MutedPlaces());
    EXPECT_EQ(*SettingsStore(memory).mutedByVelmoran, MutedPlaces()) << "known to be none";
    SettingsStore(memory).mutedByVelmoran.set(std::nullopt);
    EXPECT_TRUE(memory.isEmpty());
    for (const auto* unreadable :
         {"", "[", "{}", "[{}]", R"([{"name":"a"}])", R"([{"name":1,"port":""}])", "null"}) {
        memory.setBytes("mutedByVelmoran", unreadable);
        EXPECT_EQ(*SettingsStore(memory).mutedByVelmoran, std::nullopt) << unreadable;
    }
    memory.setTexts("mutedByVelmoran", {"a", "b"});
    EXPECT_EQ(*SettingsStore(memory).mutedByVelmoran, std::nullopt);
}

TEST(SettingsStore, TakesTheDefaultForDaysThatNoCalendarHas) {
    for (const std::int64_t days : {std::int64_t{-1}, std::int64_t{5'000'000'000}}) {
        MemorySettings memory;
        memory.setInteger("retentionDays", days);
        EXPECT_EQ(*SettingsStore(memory).retentionDays, 90);
    }
}

} // namespace
} // namespace velmoran
