#include "app/telling/WatchLines.h"
#include "tests/app/model/ModelFixture.h"

#include <cmath>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using testing::appRef;

/// Half an hour past nine at the beginning of replay time, in seconds of the day.
std::string clockTime(Timestamp time) {
    const auto second = static_cast<int>(std::floor(time.seconds - 794136600.0));
    std::string text = "09:30:00";
    text[7] = static_cast<char>('0' + second % 10);
    text[6] = static_cast<char>('0' + second / 10 % 6);
    text[4] = static_cast<char>('0' + second / 60 % 10);
    return text;
}

struct WatchLinesTest : testing::ModelFixture {
    std::vector<std::string> written;
    std::unique_ptr<WatchLines> lines;

    void watch() {
        launch();
        lines = std::make_unique<WatchLines>(
            *model, time, clockTime, [this](const std::string& line) { written.push_back(line); });
        receive({});
    }
    ~WatchLinesTest() override { lines.reset(); }
};

TEST_F(WatchLinesTest, SaysStartAndEndWithDuration) {
    watch();
    time.advanceTo(1);
    receive(microphone({appRef("Firefox")}));
    time.advanceTo(31.9);
    receive({});
    EXPECT_EQ(written,
              (std::vector<std::string>{"09:30:01  Firefox turned on the microphone",
                                        "09:30:31  Firefox turned off the microphone (30 s)"}));
}

TEST_F(WatchLinesTest, SaysTheUnknownOneAndWhoItWas) {
    watch();
    time.advanceTo(2);
    receive(camera({}));
    time.advanceTo(5);
    receive(camera({appRef("Meet")}));
    EXPECT_EQ(written, (std::vector<std::string>{
                           "09:30:02  Unknown app turned on the camera. We couldn't tell which "
                           "app it is.",
                           "09:30:05  It was Meet that turned on the camera"}));
}

TEST_F(WatchLinesTest, MarksWhatIsTrustedAndWhatIsAlwaysWarnedAbout) {
    watch();
    const AppIdentity meet{
        .id = "org.example.Meet", .name = "Meet", .bundleID = {}, .path = {}, .teamID = {}};
    model->setTrusted(true, meet, {Device::camera});
    model->setAlwaysWarn(true, meet, {Device::microphone});
    receive(camera({appRef("Meet")}));
    receive({});
    receive(microphone({appRef("Meet")}));
    EXPECT_EQ(written,
              (std::vector<std::string>{"09:30:00  Meet turned on the camera (trusted)",
                                        "09:30:00  Meet turned off the camera (0 s)",
                                        "09:30:00  Meet turned on the microphone (always warn)"}));
}

TEST_F(WatchLinesTest, DoesNotPretendToHaveSeenTheBeginning) {
    launch();
    lines = std::make_unique<WatchLines>(
        *model, time, clockTime, [this](const std::string& line) { written.push_back(line); });
    receive(camera({appRef("Meet")}));
    time.advanceTo(90);
    receive({});
    EXPECT_EQ(written,
              (std::vector<std::string>{"09:30:00  Meet was already using the camera",
                                        "09:31:30  Meet turned off the camera (at least 1 min)"}));
}

TEST_F(WatchLinesTest, SaysThatThereIsNoHistory) {
    historyFails = true;
    model = std::make_unique<AppModel>(
        ModelSurroundings{machine, time, time, settings, []() -> std::shared_ptr<HistoryStore> {
                              throw std::runtime_error("no");
                          }});
    lines = std::make_unique<WatchLines>(
        *model, time, clockTime, [this](const std::string& line) { written.push_back(line); });
    model->start();
    EXPECT_EQ(written, (std::vector<std::string>{
                           "09:30:00  History can't be saved right now. Velmoran couldn't open "
                           "its file on this Mac. (no)"}));
}

TEST_F(WatchLinesTest, SaysFromWhenToWhenTheHistoryIsNotSaved) {
    watch();
    time.advanceTo(3);
    model->historyProblem.set(
        HistoryProblem{.kind = HistoryProblem::Kind::notWritten, .reason = "Input/output error"});
    time.advanceTo(5);
    model->historyProblem.set(std::nullopt);
    EXPECT_EQ(written, (std::vector<std::string>{
                           "09:30:03  History can't be saved right now. Its file couldn't be "
                           "written. (Input/output error)",
                           "09:30:05  The history is being saved again."}));
}

TEST_F(WatchLinesTest, SaysEachTimeThatTheSightWasTaken) {
    watch();
    for (int times = 0; times < 2; ++times) {
        time.advanceBy(1);
        machine.takeSight();
        time.runPosted();
    }
    const std::string sentence = "Something took Velmoran's view of the sound system away.";
    EXPECT_EQ(written,
              (std::vector<std::string>{"09:30:01  " + sentence, "09:30:02  " + sentence}));
}

TEST_F(WatchLinesTest, SaysOnceWhenNobodyWasWatching) {
    watch();
    time.advanceTo(60);
    SystemSnapshot after;
    after.lastGap = WatchGap{time.now() - 5.0, time.now()};
    receive(after);
    after.speakerOn = true;
    receive(after);
    EXPECT_EQ(written, (std::vector<std::string>{
                           "09:31:00  Velmoran wasn't watching from 09:30:55 to 09:31:00 (5 s)"}));
}

TEST_F(WatchLinesTest, KeepsATerminalFromObeyingAName) {
    watch();
    receive(camera({appRef("\x1B]0;gone\x07\nroot\xC2\x9B\xC3\xA9")}));
    ASSERT_EQ(written.size(), 1U);
    EXPECT_EQ(written[0], "09:30:00   ]0;gone  root \xC3\xA9 turned on the camera");
}

} // namespace
} // namespace velmoran
