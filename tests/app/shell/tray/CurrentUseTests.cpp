#include "app/shell/tray/CurrentUse.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const Timestamp start{1000};

SystemSnapshot on(bool camera, bool microphone) {
    SystemSnapshot snapshot;
    snapshot.cameraOn = camera;
    snapshot.microphoneOn = microphone;
    return snapshot;
}

NoticeItem currentUseItem(CurrentUse use, Timestamp now) {
    return velmoran::currentUseItem(use, now, [] {});
}

TEST(CurrentUse, SaysWhenNothingIsOn) {
    const auto item = currentUseItem({.snapshot = on(false, false)}, start);
    EXPECT_EQ(item.title, "Camera and microphone are off");
    EXPECT_EQ(item.message, std::nullopt);
    EXPECT_FALSE(item.isStrong);
    EXPECT_TRUE(item.buttons.empty());
}

TEST(CurrentUse, SaysWhatIsOnAndWhoUsesItForHowLong) {
    const auto item =
        currentUseItem({.open = {sessionOf(app("zoom"), Device::camera, start),
                                 sessionOf(app("meet"), Device::microphone, start + 60)},
                        .snapshot = on(true, true)},
                       start + 125);
    EXPECT_EQ(item.title, "Camera and microphone are in use");
    EXPECT_EQ(item.message, "Name of zoom uses the camera (2 min)\n"
                            "Name of meet uses the microphone (1 min)");
}

TEST(CurrentUse, TellsTheTwoDevicesApart) {
    EXPECT_EQ(currentUseItem({.snapshot = on(true, false)}, start).title, "The camera is in use");
    EXPECT_EQ(currentUseItem({.snapshot = on(false, true)}, start).title,
              "The microphone is in use");
}

TEST(CurrentUse, LeavesTheSpeakerOut) {
    const auto item = currentUseItem(
        {.open = {sessionOf(app("music"), Device::speaker, start)}, .snapshot = on(false, false)},
        start);
    EXPECT_EQ(item.message, std::nullopt);
}

TEST(CurrentUse, SaysWhyTheHistoryIsNotSaved) {
    const auto message = [](HistoryProblem::Kind kind, const std::string& reason) {
        return currentUseItem({.snapshot = on(false, false),
                               .historyProblem = HistoryProblem{.kind = kind, .reason = reason}},
                              start)
            .message;
    };
    EXPECT_EQ(message(HistoryProblem::Kind::notWritten, "No space left on device"),
              "History can't be saved right now. Its file couldn't be written. (No space left on "
              "device)");
    EXPECT_EQ(message(HistoryProblem::Kind::notOpened, "a\nfolder/x: not a file"),
              "History can't be saved right now. Velmoran couldn't open its file on this Mac. (a "
              "folder/x: not a file)");
}

TEST(CurrentUse, CallsNothingOffThatIsNotWatched) {
    auto blind = on(false, false);
    blind.unwatched = {Device::microphone};
    const auto item = currentUseItem({.snapshot = blind}, start);
    EXPECT_EQ(item.title, "The camera is off");
    EXPECT_EQ(item.message, "The microphone isn't being watched: no sound server can be reached.");
}

TEST(CurrentUse, OffersToUnmuteOnlyWhileAMuteIsInForce) {
    int unmuted = 0;
    const auto item = velmoran::currentUseItem(
        {.snapshot = on(false, true), .microphoneMuted = true}, start, [&] { ++unmuted; });
    EXPECT_EQ(item.message, "The microphone has been muted since a stop.");
    ASSERT_EQ(item.buttons.size(), 1U);
    EXPECT_EQ(item.buttons.front().title, "Unmute microphone");
    item.buttons.front().action();
    EXPECT_EQ(unmuted, 1);
    EXPECT_TRUE(currentUseItem({.snapshot = on(false, true)}, start).buttons.empty());
}

TEST(CurrentUse, ANameCannotAddALine) {
    auto user = app("x");
    user.name = "One\nTwo uses the camera";
    const auto item = currentUseItem(
        {.open = {sessionOf(user, Device::camera, start)}, .snapshot = on(true, false)}, start);
    EXPECT_EQ(item.message, "One Two uses the camera uses the camera (0 s)");
}

} // namespace
} // namespace velmoran
