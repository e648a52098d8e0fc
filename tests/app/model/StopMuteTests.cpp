// The mute that a stop leaves, and what keeps it up.
#include "tests/app/model/StopFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using testing::Titles;

struct StopMuteTest : testing::StopFixture {};

TEST_F(StopMuteTest, LeavesTheMicrophoneAloneForACameraOnlyApp) {
    begin();
    receive(camera({appRef("Zoom")}));
    model->stop(seen(appRef("Zoom")));
    passTime(1);
    EXPECT_TRUE(mutes.empty());
    EXPECT_FALSE(*model->settings.microphoneMuted);
}

TEST_F(StopMuteTest, StartsNoKeeperWhenNothingCouldBeMuted) {
    begin();
    machine.script.microphones = {{"Bare Mic", false, std::nullopt}};
    model->stopEverything();
    time.runPosted();
    EXPECT_FALSE(*model->settings.microphoneMuted);
    machine.script.microphones = {{"New Mic", false, 0.5}};
    passTime(10);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
}

TEST_F(StopMuteTest, KeepsTheMuteUpUntilItIsUndone) {
    begin();
    model->stopEverything();
    time.runPosted();
    machine.script.microphones = {{"New Mic", false, 0.5}};
    passTime(2.9);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    passTime(0.1);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
    EXPECT_EQ(mutes.size(), 1U) << "the keeper's own aren't told";
    model->unmuteMicrophone();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    EXPECT_FALSE(*model->settings.microphoneMuted);
    passTime(10);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    ASSERT_EQ(mutes.size(), 2U);
    EXPECT_FALSE(mutes[1].first);
}

TEST_F(StopMuteTest, AKeeperThatRunsIsNotStartedAgain) {
    begin();
    machine.script.microphones = {{"Mic", false, 0.5}};
    model->stopEverything();
    time.runPosted();
    passTime(1);
    receive(camera({appRef("Zoom")}));
    model->stopEverything();
    time.runPosted();
    ASSERT_EQ(machine.script.microphones[0].volume, 0.0);
    machine.script.microphones[0].volume = 0.5;
    passTime(1.9);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5) << "not muted a further time at the end";
    passTime(0.1);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0) << "the first keeper's beat";
}

TEST_F(StopMuteTest, EndsAMuteThatAnotherProgramOfTheUserHasEnded) {
    begin();
    machine.script.microphones = {{"Mic", false, 0.5}};
    model->stopEverything();
    time.runPosted();
    ASSERT_EQ(machine.script.microphones[0].volume, 0.0);
    settings.setBoolean("microphoneMuted", false);
    passTime(3);
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    passTime(10);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    ASSERT_EQ(mutes.size(), 2U);
    EXPECT_FALSE(mutes[1].first);
}

TEST_F(StopMuteTest, AnArrivalShowsThatAnotherProgramHasEndedTheMute) {
    begin();
    model->stopEverything();
    time.runPosted();
    settings.setBoolean("microphoneMuted", false);
    machine.script.microphones = {{"New Mic", false, 0.7}};
    machine.microphoneArrived();
    time.runPosted();
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_NE(machine.script.microphones[0].volume, 0.0);
}

TEST_F(StopMuteTest, KeepsTheMuteUpWhenItsSettingIsLost) {
    begin();
    machine.script.microphones = {{"Mic", false, 0.5}};
    model->stopEverything();
    time.runPosted();
    settings.remove("microphoneMuted");
    machine.script.microphones[0].volume = 0.5;
    passTime(3);
    EXPECT_TRUE(*model->settings.microphoneMuted);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
}

TEST_F(StopMuteTest, KnowsOfTheMuteOfAStopThatWasCutShort) {
    begin();
    machine.script.microphones = {{"Mic", false, 0.5}};
    receive(camera({appRef("Zoom")}));
    model->stopEverything();
    time.runPosted();
    launch();
    machine.script.microphones[0].volume = 0.5;
    passTime(3);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
}

TEST_F(StopMuteTest, AnUnmuteInTheMiddleOfAStopHolds) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    machine.script.microphones = {{"Mic", false, 0.5}};
    receive(camera({appRef("Mule")}));
    model->stopEverything();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
    model->unmuteMicrophone();
    passTime(10);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_EQ(titles().back(), "Nothing could be stopped.") << "it isn't muted any more";
}

TEST_F(StopMuteTest, AnUnmuteBeforeTheMutesAnswerHolds) {
    begin();
    machine.script.microphones = {{"Mic", false, 0.5}};
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
    model->unmuteMicrophone();
    time.runPosted();
    EXPECT_FALSE(*model->settings.microphoneMuted);
    ASSERT_EQ(mutes.size(), 2U);
    EXPECT_TRUE(mutes[0].first) << "it was muted, though not for long";
    passTime(0.1);
    ASSERT_EQ(titles().size(), 2U);
    EXPECT_EQ(titles().back(), "Zoom was closed.");
    passTime(10);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
    EXPECT_FALSE(*model->settings.microphoneMuted);
    model->stopEverything();
    time.runPosted();
    EXPECT_TRUE(*model->settings.microphoneMuted) << "the next mute is one of its own";
}

TEST_F(StopMuteTest, MutesAMicrophoneThatArrivesAtOnce) {
    begin();
    model->stopEverything();
    time.runPosted();
    machine.script.microphones.push_back({"New Mic", false, 0.5});
    machine.microphoneArrived();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[1].volume, 0.0);
}

TEST_F(StopMuteTest, LeavesAMicrophoneThatArrivesWithoutAMute) {
    begin();
    machine.script.microphones.push_back({"New Mic", false, 0.5});
    machine.microphoneArrived();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[1].volume, 0.5);
}

TEST_F(StopMuteTest, MutesAMicrophoneThatArrivesWhileAppsAreClosed) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stopEverything();
    passTime(1);
    ASSERT_TRUE(*model->isStopping);
    machine.script.microphones.push_back({"New Mic", false, 0.5});
    machine.microphoneArrived();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[1].volume, 0.0);
    EXPECT_TRUE(*model->isStopping);
    EXPECT_EQ(mutes.size(), 1U) << "what keeps the mute up isn't told";
}

TEST_F(StopMuteTest, MutesAMicrophoneThatArrivesBeforeTheMutesAnswer) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    // Its word is on its way before the mute's answer is, but the model hears it in the stop.
    machine.microphoneArrived();
    model->stopEverything();
    machine.script.microphones.push_back({"New Mic", false, 0.5});
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[1].volume, 0.0);
    EXPECT_TRUE(*model->isStopping);
}

TEST_F(StopMuteTest, LeavesAMicrophoneThatArrivesInAStopWithoutAMute) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stop(seen(appRef("Mule")));
    machine.script.microphones = {{"New Mic", false, 0.5}};
    machine.microphoneArrived();
    passTime(10);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
}

TEST_F(StopMuteTest, LeavesAMicrophoneThatArrivesAfterAnUnmuteInTheStop) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stopEverything();
    time.runPosted();
    model->unmuteMicrophone();
    machine.script.microphones = {{"New Mic", false, 0.5}};
    machine.microphoneArrived();
    passTime(10);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
}

TEST_F(StopMuteTest, MutesAgainAfterARestart) {
    begin();
    model->stopEverything();
    time.runPosted();
    mutes.clear();
    machine.script.microphones = {{"Mic", false, 0.5}};
    launch();
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
    machine.script.microphones[0].volume = 0.7;
    passTime(3);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0);
}

} // namespace
} // namespace velmoran
