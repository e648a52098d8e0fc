#include "app/model/SettingChoices.h"

#include "app/model/MemorySettings.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(SettingChoices, AreWhatAPersonMayChoose) {
    MemorySettings memory;
    SettingsStore settings(memory);
    for (const auto& name : SettingChoices::names()) {
        const auto values = SettingChoices::values(name);
        ASSERT_GE(values.size(), 2U) << name;
        for (const auto& value : values) {
            EXPECT_FALSE(SettingChoices::refusal(name, value)) << name << value;
            SettingChoices::set(settings, name, value);
            EXPECT_EQ(SettingChoices::text(settings, name), value) << name;
        }
        for (const auto* value : {"", "maybe", "31", "TRUE", "-1", "fr"}) {
            EXPECT_TRUE(SettingChoices::refusal(name, value)) << name << value;
        }
        EXPECT_FALSE(SettingChoices::refusal(name));
    }
    for (const auto* name : {"microphoneMuted", "onboardingDone", "trustRulesData", "trustRules",
                             "floatingStopPlace", "AppleLanguages", "", "nothing"}) {
        EXPECT_TRUE(SettingChoices::refusal(name)) << name;
        EXPECT_TRUE(SettingChoices::refusal(name, "true")) << name;
        SettingChoices::set(settings, name, "true");
        EXPECT_EQ(SettingChoices::text(settings, name), "") << name;
    }
    EXPECT_FALSE(*settings.microphoneMuted);
    EXPECT_FALSE(*settings.onboardingDone);
    EXPECT_FALSE(*settings.trustRulesData);
}

TEST(SettingChoices, AreAllThereWithTheirTypes) {
    MemorySettings memory;
    const SettingsStore settings(memory);
    EXPECT_EQ(encode(SettingChoices::all(settings)),
              R"({"retentionDays":90,"warningSoundOn":true,"standardNoticesStay":false,)"
              R"("speakerAutoMute":true,"monitorSpeakerUse":false,"hideSystemSounds":true,)"
              R"("ignoreSystemListening":true,"floatingStopButton":false,"stopShortcutOn":false,)"
              R"("confirmClosingBrowser":true,"ignoreOwnReturn":true,"awayWatchOnLock":false,)"
              R"("language":"system"})");
}

TEST(SettingChoices, ShowANumberThatAFileHolds) {
    MemorySettings memory;
    memory.setInteger("retentionDays", 45);
    const SettingsStore settings(memory);
    EXPECT_EQ(SettingChoices::text(settings, "retentionDays"), "45");
    EXPECT_TRUE(SettingChoices::refusal("retentionDays", "45"));
}

TEST(SettingChoices, TakeALanguageAwayAgain) {
    MemorySettings memory;
    SettingsStore settings(memory);
    SettingChoices::set(settings, "language", "de");
    EXPECT_EQ(memory.texts("AppleLanguages"), std::vector<std::string>{"de"});
    SettingChoices::set(settings, "language", "system");
    EXPECT_FALSE(memory.texts("AppleLanguages"));
}

TEST(SettingChoices, SayWhyNot) {
    EXPECT_EQ(SettingChoices::refusal("retentionDays", "31"),
              "“retentionDays” can't be “31”. It can be: 30, 90, 365.");
    EXPECT_TRUE(SettingChoices::refusal("dance")->starts_with(
        "There is no setting “dance”. There are: retentionDays, warningSoundOn, "));
}

} // namespace
} // namespace velmoran
