#include "app/contents/StatusContent.h"

#include "Rows.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Timestamp statusStart{1000};

std::vector<std::string> useLines(const StatusContent& content) {
    std::vector<std::string> result;
    for (const auto& use : content.uses) {
        result.push_back(use.text());
    }
    return result;
}

TEST(StatusContent, OfADeviceThatNobodyUses) {
    const auto camera = StatusContent::of({.device = Device::camera}, statusStart);
    EXPECT_EQ(camera.title, "Camera");
    EXPECT_EQ(camera.symbol, "video.fill");
    EXPECT_EQ(camera.state, "Not in use");
    EXPECT_FALSE(camera.isInUse);
    EXPECT_EQ(camera.note, "");
    EXPECT_THAT(camera.uses, IsEmpty());
    const auto microphone = StatusContent::of({.device = Device::microphone}, statusStart);
    EXPECT_EQ(microphone.title, "Microphone");
    EXPECT_EQ(microphone.symbol, "mic.fill");
}

TEST(StatusContent, HasALineForEachUseInTheGivenOrder) {
    const auto first = sessionOf(app("zoom"), Device::camera, statusStart);
    const auto second = sessionOf(app("meet"), Device::camera, statusStart + 60);
    const auto content = StatusContent::of({.device = Device::camera, .sessions = {first, second}},
                                           statusStart + 125);
    EXPECT_EQ(content.state, "In use");
    EXPECT_TRUE(content.isInUse);
    EXPECT_THAT(useLines(content), ElementsAre("Name of zoom · 2 min", "Name of meet · 1 min"));
    EXPECT_EQ(content.uses.front().session, first.id);
    EXPECT_EQ(content.uses.front().app, first.app);
}

TEST(StatusContent, TurnsFromSecondsToMinutesAtSixty) {
    const auto at = [](Seconds after) {
        return useLines(StatusContent::of(
                            {.device = Device::camera,
                             .sessions = {sessionOf(app("zoom"), Device::camera, statusStart)}},
                            statusStart + after))
            .front();
    };
    EXPECT_EQ(at(59.9), "Name of zoom · 59 s");
    EXPECT_EQ(at(60), "Name of zoom · 1 min");
    EXPECT_EQ(at(-5), "Name of zoom · 0 s") << "the clock was set back";
}

TEST(StatusContent, CountsToTheEndOfAUseThatHasOne) {
    const auto content = StatusContent::of(
        {.device = Device::camera,
         .sessions = {ended(sessionOf(app("zoom"), Device::camera, statusStart), 10)}},
        statusStart + 500);
    EXPECT_THAT(useLines(content), ElementsAre("Name of zoom · 10 s"));
}

TEST(StatusContent, OfAMutedMicrophoneSaysSoWhateverUsesIt) {
    for (const bool isUsed : {false, true}) {
        StatusContent::Input input{.device = Device::microphone, .mutedByVelmoran = true};
        if (isUsed) {
            input.sessions = {sessionOf(app("zoom"), Device::microphone, statusStart)};
        }
        const auto content = StatusContent::of(input, statusStart);
        EXPECT_TRUE(content.mutedByVelmoran);
        EXPECT_EQ(content.symbol, "mic.slash.fill");
        EXPECT_EQ(content.note, "Muted by Velmoran after a stop");
        EXPECT_EQ(content.state, "");
        EXPECT_EQ(content.isInUse, isUsed);
        EXPECT_EQ(content.uses.size(), isUsed ? 1U : 0U);
    }
    EXPECT_EQ(StatusContent::unmute(), "Unmute");
    EXPECT_EQ(StatusContent::unmuteHelp(), "Unmute microphone");
}

TEST(StatusContent, NeverCallsADeviceOffThatIsNotWatched) {
    StatusContent::Input input{.device = Device::camera, .isWatched = false};
    EXPECT_EQ(StatusContent::of(input, statusStart).state, "Not watched");
    input.sessions = {sessionOf(app("zoom"), Device::camera, statusStart)};
    EXPECT_EQ(StatusContent::of(input, statusStart).state, "In use")
        << "somebody was seen all the same";
}

TEST(StatusContent, SaysThatOnlyTheSystemListens) {
    StatusContent::Input input{.device = Device::microphone,
                               .onlyListeners = {app("Siri"), app("Dictation")}};
    EXPECT_EQ(StatusContent::of(input, statusStart).note,
              "Only macOS itself is listening: Name of Siri and Name of Dictation");
    EXPECT_EQ(StatusContent::of(input, statusStart).state, "Not in use");
    input.sessions = {sessionOf(app("zoom"), Device::microphone, statusStart)};
    EXPECT_EQ(StatusContent::of(input, statusStart).note, "");
}

} // namespace
} // namespace velmoran
