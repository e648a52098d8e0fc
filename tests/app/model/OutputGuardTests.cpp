// The speakers when headphones come off.
#include "tests/app/model/StopFixture.h"

namespace velmoran {
namespace {

using testing::appRef;

SystemSnapshot output(std::uint32_t id, OutputDeviceInfo::Kind kind, bool isMuted = false) {
    SystemSnapshot snapshot;
    snapshot.output = OutputDeviceInfo{
        .objectID = id, .name = "Out", .kind = kind, .volume = 0.5F, .isMuted = isMuted};
    return snapshot;
}

struct OutputGuardTest : testing::StopFixture {
    std::vector<std::pair<std::uint32_t, bool>> outputMutes;

    void beginGuarding(bool enabled = true) {
        settings.setBoolean("speakerAutoMute", enabled);
        settings.setBoolean("monitorSpeakerUse", true);
        machine.script.outputs = {1};
        machine.onOutputMute = [this](std::uint32_t id, bool muted, bool) {
            outputMutes.emplace_back(id, muted);
        };
        begin();
    }
};

using OutputMutes = std::vector<std::pair<std::uint32_t, bool>>;

TEST_F(OutputGuardTest, MutesWhenTheHeadphonesGoAndNamesWhoPlays) {
    beginGuarding();
    auto playing = output(2, OutputDeviceInfo::Kind::headphones);
    playing.speakerOn = true;
    playing.speakerApps = {appRef("Music")};
    receive(playing);
    playing.output = output(1, OutputDeviceInfo::Kind::builtInSpeakers).output;
    receive(playing);
    EXPECT_EQ(outputMutes, (OutputMutes{{1, true}}));
    const auto card = model->notices.items().back();
    EXPECT_EQ(card.title, "Headphones disconnected, so the speakers were muted");
    EXPECT_EQ(card.message, "Music would have played out loud.");
    EXPECT_EQ(card.symbol, "speaker.slash");
    EXPECT_EQ(card.timeText, "Just now");
    EXPECT_EQ(card.autoHideAfter, std::nullopt);
    EXPECT_FALSE(card.isStrong);
    press("Unmute speakers");
    EXPECT_EQ(outputMutes, (OutputMutes{{1, true}, {1, false}}));
    EXPECT_FALSE(model->notices.item(card.id));
}

TEST_F(OutputGuardTest, SaysWhenItCouldNotMute) {
    beginGuarding();
    machine.script.outputMuteFails = true;
    receive(output(2, OutputDeviceInfo::Kind::headphones));
    receive(output(1, OutputDeviceInfo::Kind::builtInSpeakers));
    const auto card = model->notices.items().back();
    EXPECT_EQ(card.title, "Headphones disconnected");
    EXPECT_EQ(card.message, "Sound now comes out of the speakers. Velmoran couldn't mute them.");
    EXPECT_EQ(card.symbol, "speaker.wave.2");
    EXPECT_TRUE(card.buttons.empty());
    EXPECT_EQ(card.autoHideAfter, std::nullopt);
}

TEST_F(OutputGuardTest, HasNothingToSayWhenNobodyPlays) {
    beginGuarding();
    receive(output(1, OutputDeviceInfo::Kind::headphones));
    receive(output(1, OutputDeviceInfo::Kind::builtInSpeakers));
    EXPECT_EQ(outputMutes, (OutputMutes{{1, true}}));
    EXPECT_EQ(model->notices.items().back().message, std::nullopt);
}

TEST_F(OutputGuardTest, DoesNothingWhenItIsOff) {
    beginGuarding(false);
    receive(output(2, OutputDeviceInfo::Kind::headphones));
    receive(output(1, OutputDeviceInfo::Kind::builtInSpeakers));
    EXPECT_TRUE(outputMutes.empty());
    EXPECT_TRUE(titles().empty());
}

TEST_F(OutputGuardTest, LeavesSpeakersThatWerePickedByHand) {
    beginGuarding();
    machine.script.outputs = {1, 2};
    receive(output(2, OutputDeviceInfo::Kind::headphones));
    receive(output(1, OutputDeviceInfo::Kind::builtInSpeakers));
    EXPECT_TRUE(outputMutes.empty());
}

TEST_F(OutputGuardTest, LeavesEveryOtherChange) {
    beginGuarding();
    receive(output(1, OutputDeviceInfo::Kind::builtInSpeakers));
    receive(output(2, OutputDeviceInfo::Kind::headphones));
    receive(output(3, OutputDeviceInfo::Kind::other));
    receive(output(2, OutputDeviceInfo::Kind::headphones));
    receive(output(1, OutputDeviceInfo::Kind::builtInSpeakers, true));
    receive({});
    receive(output(1, OutputDeviceInfo::Kind::builtInSpeakers));
    EXPECT_TRUE(outputMutes.empty());
    EXPECT_TRUE(titles().empty());
}

} // namespace
} // namespace velmoran
