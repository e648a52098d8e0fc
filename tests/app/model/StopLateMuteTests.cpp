// A mute that no sound server has answered to, and that takes effect later after all.
#include "tests/app/model/StopFixture.h"

#include <algorithm>

namespace velmoran {
namespace {

using testing::appRef;
using testing::Titles;

struct StopLateMuteTest : testing::StopFixture {
    static constexpr const char* failed = "No app was using the camera or microphone.";
    static constexpr const char* muted =
        "Microphone muted. No app was using the camera or microphone.";

    auto cards(const std::string& title) const {
        const auto all = titles();
        return std::count(all.begin(), all.end(), title);
    }

    /// A mute stands, and the sound server has gone silent since.
    void beginMuted() {
        begin();
        model->stopEverything();
        time.runPosted();
        ASSERT_EQ(cards(muted), 1);
        model->notices.dismiss(model->notices.items().back().id);
        machine.setSoundServerHangs(true);
    }

    void stopInVain() {
        const auto before = cards(failed);
        model->stopEverything();
        time.runPosted();
        ASSERT_EQ(cards(failed), before + 1);
    }

    void wake() {
        machine.setSoundServerHangs(false);
        time.runPosted();
    }
};

TEST_F(StopLateMuteTest, TakesUpAMuteThatTookEffectLate) {
    begin();
    machine.script.microphones = {{"Mic", false, 0.5}};
    machine.setSoundServerHangs(true);
    model->stopEverything();
    time.runPosted();
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_EQ(titles().back(), "No app was using the camera or microphone.");
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    machine.setSoundServerHangs(false);
    time.runPosted();
    EXPECT_TRUE(*model->settings.microphoneMuted);
    EXPECT_EQ(titles(), (Titles{"Microphone muted. No app was using the camera or microphone."}))
        << "the card tells the truth by now";
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
    ASSERT_EQ(mutes.size(), 2U);
    EXPECT_EQ(mutes[1], std::pair(true, (MuteOutcome{1, {}})));
    machine.script.microphones[0].volume = 0.7;
    passTime(3);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0) << "it is kept up";
    model->unmuteMicrophone();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[0].volume, 0.7F);
    EXPECT_FALSE(*model->settings.microphoneMuted);
}

TEST_F(StopLateMuteTest, SaysThatItMutedIfThatTookEffectWhileItClosed) {
    begin();
    machine.setSoundServerHangs(true);
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    time.runPosted();
    machine.setSoundServerHangs(false);
    passTime(0.1);
    EXPECT_EQ(titles().back(), "Microphone muted. Zoom was closed.");
    EXPECT_TRUE(*model->settings.microphoneMuted);
}

TEST_F(StopLateMuteTest, LeavesALateMuteThatWasUndone) {
    begin();
    machine.script.microphones = {{"Mic", false, 0.5}};
    machine.setSoundServerHangs(true);
    model->stopEverything();
    time.runPosted();
    machine.setSoundServerHangs(false);
    model->unmuteMicrophone();
    passTime(5);
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
}

TEST_F(StopLateMuteTest, SetsTheCardRightWhenTheKeepersMuteIsTheOneThatTookEffect) {
    beginMuted();
    stopInVain();
    passTime(3);
    EXPECT_EQ(cards(failed), 1) << "the server sleeps on";
    ASSERT_EQ(mutes.size(), 2U);
    wake();
    EXPECT_EQ(titles(), Titles{muted});
    EXPECT_TRUE(*model->settings.microphoneMuted);
    ASSERT_EQ(mutes.size(), 3U);
    EXPECT_EQ(mutes[2], std::pair(true, (MuteOutcome{1, {}})));
    passTime(7.9);
    EXPECT_EQ(cards(muted), 1);
    passTime(0.1);
    EXPECT_TRUE(titles().empty()) << "it goes like any other";
    EXPECT_EQ(mutes.size(), 3U) << "what only keeps the mute up isn't told";
}

TEST_F(StopLateMuteTest, SetsTheCardRightWhenAnArrivalBringsTheMuteAbout) {
    beginMuted();
    stopInVain();
    passTime(3);
    const auto microphones = std::exchange(machine.script.microphones, {});
    wake();
    EXPECT_EQ(titles(), Titles{failed}) << "nothing is there to be muted";
    machine.script.microphones = microphones;
    machine.microphoneArrived();
    time.runPosted();
    EXPECT_EQ(titles(), Titles{muted});
}

TEST_F(StopLateMuteTest, SetsEveryCardRight) {
    begin();
    machine.setSoundServerHangs(true);
    stopInVain();
    receive(camera({appRef("Zoom")}));
    model->stop(seen(appRef("Zoom")));
    passTime(0.1);
    EXPECT_EQ(titles().back(), "Zoom was closed.");
    receive({});
    stopInVain();
    wake();
    EXPECT_EQ(cards(failed), 0);
    EXPECT_EQ(cards(muted), 2);
    EXPECT_EQ(cards("Zoom was closed."), 1) << "it says nothing of the microphone";
}

TEST_F(StopLateMuteTest, SetsTheCardRightWhenTheNextStopMutes) {
    begin();
    machine.setSoundServerHangs(true);
    stopInVain();
    const auto microphones = std::exchange(machine.script.microphones, {});
    wake();
    EXPECT_EQ(cards(failed), 1) << "nothing is there to be muted";
    machine.script.microphones = microphones;
    model->stopEverything();
    time.runPosted();
    EXPECT_EQ(cards(failed), 0);
    EXPECT_EQ(cards(muted), 2);
    EXPECT_EQ(mutes.size(), 2U);
}

TEST_F(StopLateMuteTest, SaysThatItMutedIfTheKeepersMuteTookEffectWhileItClosed) {
    beginMuted();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    passTime(1);
    model->stopEverything();
    passTime(2.5); // past the keeper's beat
    ASSERT_TRUE(*model->isStopping);
    wake();
    passTime(3);
    ASSERT_FALSE(*model->isStopping);
    EXPECT_EQ(titles().back(), "Microphone muted.");
    EXPECT_EQ(cards("Nothing could be stopped."), 0);
}

TEST_F(StopLateMuteTest, LeavesTheCardWhenTheKeepersMuteWasUndone) {
    beginMuted();
    stopInVain();
    passTime(3);
    machine.setSoundServerHangs(false);
    model->unmuteMicrophone();
    passTime(5);
    EXPECT_EQ(titles(), Titles{failed});
    EXPECT_FALSE(*model->settings.microphoneMuted);
    ASSERT_EQ(mutes.size(), 3U);
    EXPECT_FALSE(mutes[2].first);
}

TEST_F(StopLateMuteTest, BringsNoCardBackThatWasClosed) {
    begin();
    machine.setSoundServerHangs(true);
    stopInVain();
    model->notices.close(model->notices.items().back().id);
    wake();
    EXPECT_TRUE(titles().empty());
    EXPECT_TRUE(*model->settings.microphoneMuted);
}

// The server has answered that time: what a later stop mutes is another matter.
TEST_F(StopLateMuteTest, LeavesTheCardOfAMuteThatWasRefused) {
    begin();
    machine.script.microphones = {{"Bare Mic", false, std::nullopt}};
    stopInVain();
    machine.script.microphones = {{"Mic", true, std::nullopt}};
    model->stopEverything();
    time.runPosted();
    EXPECT_EQ(titles(), (Titles{failed, muted}));
}

} // namespace
} // namespace velmoran
