#include "app/contents/TrustWording.h"

#include "Rows.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"
#include "core/warnings/WarningPolicy.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using TrustWording::Confirmation;
using TrustWording::Switch;

const Timestamp trustStart{1000};

AppIdentity trustedZoom() {
    auto identity = app("zoom", "team");
    identity.name = "Zoom";
    return identity;
}

TrustChoice trustChoice(bool allTrusted, bool allWarning,
                        std::vector<Device> devices = {Device::camera, Device::microphone}) {
    return {.app = trustedZoom(),
            .devices = std::move(devices),
            .allTrusted = allTrusted,
            .allWarning = allWarning};
}

std::string messageOf(TrustChange change, bool allTrusted, bool allWarning) {
    return TrustWording::confirmation(change, trustChoice(allTrusted, allWarning)).message;
}

TEST(TrustWording, TheTrustSwitchSaysWhatAClickDoes) {
    EXPECT_EQ(TrustWording::trustSwitch(trustChoice(true, false)),
              (Switch{.help = "Trusted for the camera and microphone. Click to stop trusting the "
                              "camera and microphone.",
                      .label = "Trusted. Click to stop trusting."}));
    EXPECT_EQ(TrustWording::trustSwitch(trustChoice(false, true, {Device::camera})),
              (Switch{.help = "Not trusted for the camera. Click to trust the camera.",
                      .label = "Not trusted. Click to trust."}));
}

TEST(TrustWording, TheWarnSwitchSaysWhatAClickDoes) {
    EXPECT_EQ(
        TrustWording::warnSwitch(trustChoice(false, true)),
        (Switch{.help = "Always tells you when Zoom uses the camera and microphone. Click to turn "
                        "this off.",
                .label = "Always warns. Click to turn off."}));
    EXPECT_EQ(TrustWording::warnSwitch(trustChoice(true, false, {Device::microphone})),
              (Switch{.help = "Click to be told every time Zoom uses the microphone, whether it is "
                              "trusted or not.",
                      .label = "Does not always warn. Click to turn on."}));
}

using TitleAndButton = std::pair<std::string, std::string>;

TEST(TrustWording, AsksByNameAndDevice) {
    const auto of = [](TrustChange change) {
        const auto asked = TrustWording::confirmation(change, trustChoice(false, false));
        return TitleAndButton{asked.title, asked.confirm};
    };
    EXPECT_EQ(of(TrustChange::trust),
              (TitleAndButton{"Trust Zoom for the camera and microphone?", "Trust"}));
    EXPECT_EQ(of(TrustChange::distrust),
              (TitleAndButton{"Stop trusting Zoom for the camera and microphone?", "Distrust"}));
    EXPECT_EQ(
        of(TrustChange::alwaysWarn),
        (TitleAndButton{"Always warn when Zoom uses the camera and microphone?", "Always warn"}));
    EXPECT_EQ(of(TrustChange::stopAlwaysWarning),
              (TitleAndButton{"Stop always warning about Zoom?", "Stop always warning"}));
}

TEST(TrustWording, SaysWhatTrustingWillDo) {
    EXPECT_EQ(messageOf(TrustChange::trust, false, true),
              "Zoom will be trusted. Because it also always warns, Velmoran will still tell you "
              "every time it uses the camera and microphone, with a calm notice instead of a "
              "strong warning.");
    EXPECT_EQ(messageOf(TrustChange::trust, false, false),
              "Velmoran will stay quiet the next time Zoom uses the camera and microphone. Only "
              "the menu bar icon changes.");
}

TEST(TrustWording, SaysWhatDistrustingWillDo) {
    EXPECT_EQ(messageOf(TrustChange::distrust, true, true),
              "Zoom keeps working. Because it always warns, Velmoran will show a strong warning "
              "every time it uses the camera and microphone.");
    EXPECT_EQ(messageOf(TrustChange::distrust, true, false),
              "Zoom keeps working. Velmoran will show a notice again the next time it uses the "
              "camera and microphone.");
}

TEST(TrustWording, SaysWhatAlwaysWarningWillDo) {
    EXPECT_EQ(messageOf(TrustChange::alwaysWarn, true, false),
              "Zoom stays trusted. Velmoran will show a calm notice every time it uses the camera "
              "and microphone, so you always know.");
    EXPECT_EQ(messageOf(TrustChange::alwaysWarn, false, false),
              "Every time Zoom uses the camera and microphone, Velmoran will show a strong warning "
              "that stays until you answer it.");
}

TEST(TrustWording, SaysWhatNoLongerWarningWillDo) {
    EXPECT_EQ(messageOf(TrustChange::stopAlwaysWarning, true, true),
              "Zoom stays trusted. Velmoran will stay quiet again when it uses the camera and "
              "microphone.");
    EXPECT_EQ(messageOf(TrustChange::stopAlwaysWarning, false, true),
              "Velmoran will go back to an ordinary notice the next time Zoom uses the camera and "
              "microphone.");
}

TEST(TrustWording, NamesNoMenuBarOnLinux) {
    setWords(Localizer("en_US", "UTC", catalogues("en_US", Platform::linux)));
    const auto text = messageOf(TrustChange::trust, false, false);
    setWords(Localizer());
    EXPECT_EQ(text, "Velmoran will stay quiet the next time Zoom uses the camera and microphone. "
                    "Only Velmoran's icon changes.");
}

TEST(TrustWording, NoNameWritesALineOfItsOwn) {
    for (const bool trusted : {false, true}) {
        for (const bool warns : {false, true}) {
            auto choice = trustChoice(trusted, warns);
            choice.app.name = "Zo\nom";
            EXPECT_NE(TrustWording::warnSwitch(choice).help.find("Zo om"), std::string::npos);
            for (const auto change : {choice.ofTrustSwitch(), choice.ofWarnSwitch()}) {
                const auto asked = TrustWording::confirmation(change, choice);
                EXPECT_NE(asked.title.find("Zo om"), std::string::npos) << asked.title;
                EXPECT_NE(asked.message.find("Zo om"), std::string::npos) << asked.message;
            }
        }
    }
}

/// Whatever the questions promise is what the policy does afterwards.
TEST(TrustWording, PromisesWhatThePolicyWillDo) {
    const auto row = rowOf({sessionOf(trustedZoom(), Device::camera, trustStart)});
    const auto promised = [](const std::string& text) {
        if (text.find("quiet") != std::string::npos) {
            return WarningLevel::quiet;
        }
        return text.find("calm notice") == std::string::npos &&
                       text.find("strong warning") != std::string::npos
                   ? WarningLevel::strong
                   : WarningLevel::standard;
    };
    for (const bool trusted : {false, true}) {
        for (const bool warns : {false, true}) {
            TrustList before;
            before.set(trustKindOf(trusted, warns), trustedZoom(), {Device::camera});
            const auto state = TrustChoice::of(row, before);
            ASSERT_EQ(state.allTrusted, trusted);
            ASSERT_EQ(state.allWarning, warns);
            for (const auto change : {state.ofTrustSwitch(), state.ofWarnSwitch()}) {
                auto after = before;
                if (change == TrustChange::trust || change == TrustChange::distrust) {
                    after.setTrusted(change == TrustChange::trust, trustedZoom(), {Device::camera});
                } else {
                    after.setAlwaysWarn(change == TrustChange::alwaysWarn, trustedZoom(),
                                        {Device::camera});
                }
                const auto text = TrustWording::confirmation(change, state).message;
                EXPECT_EQ(WarningPolicy::level(trustedZoom(), Device::camera, after, false),
                          promised(text))
                    << text;
            }
        }
    }
}

TEST(TrustChoice, WantsEachOfTheDevicesToBeTrusted) {
    const auto row = rowOf({sessionOf(trustedZoom(), Device::camera, trustStart),
                            sessionOf(trustedZoom(), Device::microphone, trustStart + 1)});
    TrustList trust;
    trust.setTrusted(true, trustedZoom(), {Device::camera});
    const auto one = TrustChoice::of(row, trust);
    EXPECT_FALSE(one.allTrusted);
    EXPECT_EQ(one.ofTrustSwitch(), TrustChange::trust);
    EXPECT_EQ(one.devices, (std::vector{Device::camera, Device::microphone}));
    trust.set(TrustKind::trustedAlwaysWarn, trustedZoom(), {Device::microphone});
    const auto both = TrustChoice::of(row, trust);
    EXPECT_TRUE(both.allTrusted);
    EXPECT_FALSE(both.allWarning);
    EXPECT_EQ(both.ofTrustSwitch(), TrustChange::distrust);
    EXPECT_EQ(both.ofWarnSwitch(), TrustChange::alwaysWarn);
    trust.setAlwaysWarn(true, trustedZoom(), {Device::camera});
    EXPECT_EQ(TrustChoice::of(row, trust).ofWarnSwitch(), TrustChange::stopAlwaysWarning);
}

TEST(TrustChoice, OfTheSpeakerAloneThereIsNone) {
    TrustList trust;
    trust.setTrusted(true, trustedZoom(), {Device::camera, Device::speaker});
    const auto speaker =
        TrustChoice::of(rowOf({sessionOf(trustedZoom(), Device::speaker, trustStart)}), trust);
    EXPECT_TRUE(speaker.devices.empty());
    EXPECT_FALSE(speaker.allTrusted);
    EXPECT_FALSE(speaker.allWarning);
    EXPECT_FALSE(speaker.canChange());
}

TEST(TrustChoice, CannotBeChangedForWhoeverCannotBeNamed) {
    for (const auto& user : {AppIdentity::unknown(), unidentified("7")}) {
        EXPECT_FALSE(
            TrustChoice::of(rowOf({sessionOf(user, Device::camera, trustStart)}), {}).canChange());
    }
    EXPECT_TRUE(TrustChoice::of(rowOf({sessionOf(trustedZoom(), Device::camera, trustStart)}), {})
                    .canChange());
}

TEST(TrustChoice, OfAnotherTeamIsNotTheRules) {
    TrustList trust;
    trust.setTrusted(true, app("zoom", "somebody else"), {Device::camera});
    EXPECT_FALSE(
        TrustChoice::of(rowOf({sessionOf(trustedZoom(), Device::camera, trustStart)}), trust)
            .allTrusted);
}

} // namespace
} // namespace velmoran
