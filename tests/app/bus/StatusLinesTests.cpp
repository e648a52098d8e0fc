#include "app/bus/StatusLines.h"

#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Lines = std::vector<std::string>;

class StatusLines : public ::testing::Test {
protected:
    ~StatusLines() override { setWords(Localizer()); }

    static ProgramStatus::Use use(Device device, bool seenFromStart, std::int64_t since) {
        return {.device = device,
                .app = {.id = "org.example.zoom", .name = "Zoom", .path = std::nullopt},
                .since = since,
                .seenFromStart = seenFromStart};
    }

    static constexpr std::int64_t noon = 1700049600; ///< 2023-11-15 12:00:00 UTC
    /// Which space stands in it depends on the formats' edition.
    const std::string hour = words().shortTime({noon - secondsFromUnixEpoch});
    static constexpr Timestamp now = {1700053200 - secondsFromUnixEpoch};
};

TEST_F(StatusLines, SayThatNothingIsOn) {
    EXPECT_EQ(statusLines({}, now), (Lines{"Camera and microphone are off"}));
}

TEST_F(StatusLines, SayFirstThatTheHistoryIsNotSaved) {
    ProgramStatus status;
    status.historyProblem =
        HistoryProblem{.kind = HistoryProblem::Kind::notWritten, .reason = "Input/output error"};
    EXPECT_EQ(statusLines(status, now),
              (Lines{"History can't be saved right now. Its file couldn't be written. "
                     "(Input/output error)",
                     "Camera and microphone are off"}));
    EXPECT_EQ(decode<ProgramStatus>(encode(status)), status);
    EXPECT_EQ(encode(ProgramStatus()).find("historyProblem"), std::string::npos);
}

TEST_F(StatusLines, SayWhoUsesWhatSinceWhen) {
    ProgramStatus status;
    status.cameraOn = status.microphoneOn = true;
    status.uses = {use(Device::camera, true, noon), use(Device::microphone, false, noon - 86400)};
    EXPECT_EQ(statusLines(status, now),
              (Lines{"Zoom is using the camera (since " + hour + ")",
                     "Zoom is using the microphone (since Yesterday, " + hour + " or earlier)"}));
}

TEST_F(StatusLines, NeverDenyThatADeviceIsOn) {
    ProgramStatus status;
    status.cameraOn = true;
    EXPECT_EQ(statusLines(status, now), (Lines{"The camera is in use"}));
    status.microphoneOn = true;
    status.uses = {use(Device::camera, true, noon)};
    EXPECT_EQ(statusLines(status, now).back(), "The microphone is in use");
}

TEST_F(StatusLines, NameALevelMeterAsSuch) {
    ProgramStatus status;
    status.microphoneOn = true;
    status.onlyListeners = {{.id = "m", .name = "Volume Control", .path = std::nullopt}};
    EXPECT_EQ(statusLines(status, now), (Lines{"Only macOS itself is listening: Volume Control"}));
    EXPECT_EQ(decode<ProgramStatus>(encode(status)), status);
    status.uses = {use(Device::microphone, true, noon)};
    EXPECT_EQ(statusLines(status, now).size(), 1U) << "there is somebody to name";
}

TEST_F(StatusLines, CountNoSpeakerAsCameraOrMicrophone) {
    ProgramStatus status;
    status.uses = {use(Device::speaker, true, noon)};
    EXPECT_EQ(statusLines(status, now), (Lines{"Zoom is using the speaker (since " + hour + ")",
                                               "Camera and microphone are off"}));
}

TEST_F(StatusLines, SayWhatAStopDoesAndLeaves) {
    ProgramStatus status;
    status.microphoneMuted = status.stopping = true;
    EXPECT_EQ(statusLines(status, now), (Lines{"Camera and microphone are off",
                                               "The microphone is muted", "A stop is under way"}));
}

TEST_F(StatusLines, SayThatTheSightWasTakenAndWhen) {
    ProgramStatus status;
    status.sightTaken = noon;
    EXPECT_EQ(
        statusLines(status, now),
        (Lines{"Camera and microphone are off",
               "Something took Velmoran's view of the sound system away (last: " + hour + ")"}));
}

TEST_F(StatusLines, CallNothingOffThatIsNotWatched) {
    ProgramStatus status;
    status.unwatched = {Device::microphone};
    const std::string noSound =
        "The microphone isn't being watched: no sound server can be reached.";
    const std::string noRight =
        "The camera isn't being watched: the system doesn't let Velmoran look at it.";
    EXPECT_EQ(statusLines(status, now), (Lines{"The camera is off", noSound}));
    status.unwatched = {Device::camera};
    EXPECT_EQ(statusLines(status, now), (Lines{"The microphone is off", noRight}));
    status.unwatched = {Device::camera, Device::microphone};
    EXPECT_EQ(statusLines(status, now),
              (Lines{"Camera and microphone aren't being watched", noRight, noSound}));
    // A program may still be seen that opens the device directly.
    status.microphoneOn = true;
    status.uses = {use(Device::microphone, true, noon)};
    EXPECT_EQ(statusLines(status, now),
              (Lines{"Zoom is using the microphone (since " + hour + ")", noRight, noSound}));
}

TEST_F(StatusLines, SayWhenNobodyWasWatching) {
    ProgramStatus status;
    status.notWatching = {.from = noon, .to = noon + 65};
    const auto minuteLater = words().shortTime({noon + 65 - secondsFromUnixEpoch});
    EXPECT_EQ(statusLines(status, now),
              (Lines{"Camera and microphone are off",
                     "Velmoran wasn't watching from " + hour + " to " + minuteLater + " (1 min)"}));
}

TEST_F(StatusLines, SpeakGerman) {
    setWords(Localizer("de_DE", "UTC", catalogues("de_DE", Platform::linux)));
    ProgramStatus status;
    status.uses = {use(Device::camera, true, noon)};
    status.cameraOn = status.microphoneMuted = true;
    EXPECT_EQ(statusLines(status, now), (Lines{"Zoom verwendet die Kamera (seit 12:00)",
                                               "Das Mikrofon ist stummgeschaltet"}));
}

TEST(ProgramStatus, SurvivesItsJson) {
    ProgramStatus status;
    status.cameraOn = true;
    status.stopping = true;
    status.sightTaken = 1700049600;
    status.uses = {{.device = Device::microphone,
                    .app = {.id = "a", .name = "A\n\x1B[0m", .path = "/a"},
                    .since = 1700049600,
                    .seenFromStart = true},
                   {}};
    status.unwatched = {Device::camera};
    status.notWatching = {.from = 1700049600, .to = 1700049605};
    EXPECT_EQ(decode<ProgramStatus>(encode(status)), status);
    EXPECT_EQ(encode(ProgramStatus()),
              R"({"cameraOn":false,"microphoneOn":false,"microphoneMuted":false,)"
              R"("stopping":false,"uses":[]})");
}

TEST(ProgramStatus, IsNotReadFromAnythingElse) {
    for (const auto* text : {"", "[]", "{}", "null", R"({"cameraOn": 1})",
                             R"({"cameraOn":false,"microphoneOn":false,"microphoneMuted":false,)"
                             R"("stopping":false,"uses":[1]})",
                             R"({"cameraOn":false,"microphoneOn":false,"microphoneMuted":false,)"
                             R"("stopping":false,"uses":7})"}) {
        EXPECT_THROW(decode<ProgramStatus>(text), DecodingError) << text;
    }
}

TEST_F(StatusLines, SayWhetherAnAwayWatchIsOnAndWhatItMisses) {
    ProgramStatus status;
    status.awayWatchOn = true;
    EXPECT_EQ(statusLines(status, now),
              (Lines{"Camera and microphone are off", "Away watch is on"}));
    EXPECT_EQ(decode<ProgramStatus>(encode(status)), status);
    status = {};
    status.awayWatchCantBegin = status.awayWatchMissesInput = true;
    EXPECT_EQ(
        statusLines(status, now),
        (Lines{"Camera and microphone are off",
               "Away watch can't begin until something announces that the screen is locked; "
               "nothing has yet",
               "Away watch doesn't notice keyboard and mouse: the desktop doesn't tell of them"}));
    EXPECT_EQ(decode<ProgramStatus>(encode(status)), status);
    EXPECT_EQ(encode(ProgramStatus()).find("away"), std::string::npos);
}

} // namespace
} // namespace velmoran
