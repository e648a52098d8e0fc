#include "app/notices/NoticeWording.h"
#include "core/text/Localizer.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

WarningNotice warning(WarningLevel level, std::vector<Device> devices = {Device::camera}) {
    WarningNotice notice;
    notice.id = Uuid::random();
    notice.app = {
        .id = "zoom", .name = "Zoom", .bundleID = {}, .path = "/Applications/Zoom", .teamID = {}};
    notice.devices = std::move(devices);
    notice.level = level;
    notice.start = {794136600.0};
    return notice;
}

std::vector<std::pair<std::string, bool>> buttons(const NoticeItem& item) {
    std::vector<std::pair<std::string, bool>> result;
    for (const auto& button : item.buttons) {
        result.emplace_back(button.title, button.prominent);
    }
    return result;
}

using Buttons = std::vector<std::pair<std::string, bool>>;

TEST(NoticeWording, WordsAStandardWarning) {
    const auto notice = warning(WarningLevel::standard);
    const auto item = noticeItem(notice, {}, false, {});
    EXPECT_EQ(item.id, notice.id);
    EXPECT_EQ(item.appPath, "/Applications/Zoom");
    EXPECT_EQ(item.app, notice.app);
    EXPECT_EQ(item.symbol, std::nullopt);
    EXPECT_FALSE(item.isStrong);
    EXPECT_EQ(item.title, "Zoom turned on the camera");
    EXPECT_EQ(item.message, std::nullopt);
    EXPECT_EQ(item.timeText, "Just now");
    EXPECT_EQ(buttons(item), (Buttons{{"Stop", false}, {"Trust this app", false}}));
    EXPECT_EQ(item.autoHideAfter, 8.0);
    EXPECT_FALSE(item.onClose);
}

TEST(NoticeWording, WordsAStrongWarningThatNeverGoesByItself) {
    for (const bool stay : {false, true}) {
        const auto item = noticeItem(warning(WarningLevel::strong), {}, stay, {});
        EXPECT_TRUE(item.isStrong);
        EXPECT_EQ(buttons(item), (Buttons{{"Stop", true}, {"This was me", false}}));
        EXPECT_EQ(item.autoHideAfter, std::nullopt);
    }
}

TEST(NoticeWording, KeepsStandardCardsWhenTheSettingSaysSo) {
    EXPECT_EQ(noticeItem(warning(WarningLevel::standard), {}, true, {}).autoHideAfter,
              std::nullopt);
}

TEST(NoticeWording, OffersOnlyStopWhenTheAppIsTrustedForAllDevices) {
    TrustList trust;
    const auto notice = warning(WarningLevel::standard, {Device::camera, Device::microphone});
    trust.set(TrustKind::trustedAlwaysWarn, notice.app, {Device::camera});
    EXPECT_EQ(buttons(noticeItem(notice, trust, false, {})),
              (Buttons{{"Stop", false}, {"Trust this app", false}}));
    trust.set(TrustKind::trustedAlwaysWarn, notice.app, {Device::microphone});
    EXPECT_EQ(buttons(noticeItem(notice, trust, false, {})), (Buttons{{"Stop", false}}));
    trust.set(TrustKind::alwaysWarn, notice.app, {Device::microphone});
    EXPECT_EQ(buttons(noticeItem(notice, trust, false, {})).size(), 2U);
}

TEST(NoticeWording, ShowsTheClockTimeForAWarningDuringAnAwayWatch) {
    // Unlike the English time it is the same in all releases of the language data.
    setWords(Localizer("de_DE", "Europe/Berlin", {}));
    auto notice = warning(WarningLevel::strong);
    notice.duringAwayWatch = true;
    const auto item = noticeItem(notice, {}, false, {});
    setWords(Localizer());
    EXPECT_EQ(item.timeText, "10:30");
    EXPECT_EQ(item.title, "Zoom turned on the camera while you were away");
}

TEST(NoticeWording, RunsTheActionOfTheButton) {
    std::string run;
    const NoticeActions actions{.stop = [&] { run += "stop "; },
                                .thisWasMe = [&] { run += "me "; },
                                .trustThisApp =
                                    [&] {
                                        run += "trust ";
                                    }};
    for (const auto level : {WarningLevel::standard, WarningLevel::strong}) {
        for (const auto& button : noticeItem(warning(level), {}, false, actions).buttons) {
            button.action();
        }
    }
    EXPECT_EQ(run, "stop trust stop me ");
}

// MARK: - What a stop did

AppIdentity named(const std::string& name) {
    return {.id = name, .name = name, .bundleID = {}, .path = {}, .teamID = {}};
}

TEST(NoticeWording, WordsAStopInWhichAllWentWell) {
    StopResult result;
    result.microphoneMuted = true;
    result.closed = {named("Zoom")};
    const auto id = Uuid::random();
    const auto item = stopResultItem(result, id, {});
    EXPECT_EQ(item.id, id);
    EXPECT_EQ(item.symbol, "checkmark.circle");
    EXPECT_EQ(item.appPath, std::nullopt);
    EXPECT_FALSE(item.isStrong);
    EXPECT_EQ(item.title, "Microphone muted. Zoom was closed.");
    EXPECT_EQ(item.message, "The microphone stays muted until you unmute it in the Microphone row "
                            "of the panel.");
    EXPECT_EQ(item.timeText, "Just now");
    EXPECT_TRUE(item.buttons.empty());
    EXPECT_EQ(item.autoHideAfter, 8.0);
}

TEST(NoticeWording, KeepsAStopOnScreenThatLeftSomethingOn) {
    StopResult result;
    result.protectedApps = {named("diag")};
    const auto item = stopResultItem(result, Uuid::random(), {});
    EXPECT_EQ(item.symbol, "exclamationmark.circle");
    EXPECT_EQ(item.autoHideAfter, std::nullopt);
    EXPECT_TRUE(item.buttons.empty()) << "only for an app that refused";
}

TEST(NoticeWording, OffersAnotherTryForADeviceThatIsStillInUse) {
    StopResult result;
    result.stillInUse = {Device::microphone};
    const auto item = stopResultItem(result, Uuid::random(), {});
    EXPECT_EQ(buttons(item), (Buttons{{"Details", false}, {"Try again", false}}));
    EXPECT_EQ(item.message, "The microphone is still in use.");
    EXPECT_EQ(item.autoHideAfter, std::nullopt);
}

TEST(NoticeWording, OffersAnotherTryForAnAppThatRefused) {
    StopResult result;
    result.notClosed = {named("Mule")};
    int details = 0;
    int tries = 0;
    const auto item = stopResultItem(result, Uuid::random(),
                                     {.details = [&] { ++details; },
                                      .tryAgain =
                                          [&] {
                                              ++tries;
                                          }});
    EXPECT_EQ(buttons(item), (Buttons{{"Details", false}, {"Try again", false}}));
    item.buttons[0].action();
    EXPECT_EQ(details, 1);
    item.buttons[1].action();
    EXPECT_EQ(tries, 1);
}

// MARK: - What others do to the program

TEST(NoticeWording, WarnsOfASightThatIsTakenAway) {
    std::string run;
    const auto id = Uuid::random();
    const auto item = sightTakenItem(id, {.stop = [&] { run += "stop "; },
                                          .thisWasMe =
                                              [&] {
                                                  run += "me ";
                                              }});
    EXPECT_EQ(item.id, id);
    EXPECT_TRUE(item.isStrong);
    EXPECT_EQ(item.title, "Something is hiding the microphone from Velmoran");
    EXPECT_EQ(item.message, "A program on this computer keeps taking Velmoran's view of the sound "
                            "system away. It may be listening.");
    EXPECT_EQ(buttons(item), (Buttons{{"Stop", true}, {"This was me", false}}));
    EXPECT_EQ(item.autoHideAfter, std::nullopt);
    for (const auto& button : item.buttons) {
        button.action();
    }
    EXPECT_EQ(run, "stop me ");
}

TEST(NoticeWording, TellsOfSomebodyWhoKeepsUnmuting) {
    int unmutes = 0;
    const auto item = keepsUnmutingItem(Uuid::random(), [&] { ++unmutes; });
    EXPECT_EQ(item.title, "Another program keeps unmuting the microphone");
    EXPECT_EQ(item.message, std::nullopt);
    EXPECT_FALSE(item.isStrong);
    EXPECT_EQ(buttons(item), (Buttons{{"Unmute", false}}));
    EXPECT_EQ(item.autoHideAfter, std::nullopt);
    item.buttons.at(0).action();
    EXPECT_EQ(unmutes, 1);
}

} // namespace
} // namespace velmoran
