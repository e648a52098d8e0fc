#include "app/contents/PanelContent.h"

#include "app/model/ModelFixture.h"
#include "core/text/Localizer.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::AllOf;
using testing::appRef;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

struct Panel : testing::ModelFixture {
    PanelContent content() const {
        return PanelContent::of(*model, model->recentRows(), time.now());
    }
    std::vector<std::string> lines() const { return panelLines(*model, time.now()); }
};

const std::string stopNote =
    "Closes the apps that are using the camera or microphone, and mutes the microphone. Unsaved "
    "work in those apps may be lost.";

TEST_F(Panel, WhileNothingIsOnSaysItOfEachDevice) {
    launchWatching();
    EXPECT_THAT(lines(),
                ElementsAre("Velmoran", "Camera: Not in use", "Microphone: Not in use", "Speaker",
                            "No output device", "Stop camera and microphone", stopNote, "Recent",
                            "Nothing has used the camera, microphone or speaker yet.", "History",
                            "Settings", "Quit"));
    EXPECT_FALSE(content().camera.isInUse);
    EXPECT_FALSE(content().microphone.isInUse);
    EXPECT_FALSE(content().speaker.isInUse);
    EXPECT_TRUE(content().canStop);
}

TEST_F(Panel, SaysWhatIsOnAndWhatWas) {
    launchWatching();
    model->settings.monitorSpeakerUse.set(true);
    auto reading = camera({appRef("zoom")});
    reading.microphoneOn = true;
    reading.microphoneApps = {appRef("zoom")};
    reading.speakerOn = true;
    reading.speakerApps = {appRef("music")};
    reading.output = {.objectID = 1,
                      .name = "Speakers",
                      .kind = OutputDeviceInfo::Kind::builtInSpeakers,
                      .volume = 0.45F};
    receive(reading);
    time.advanceBy(61);
    EXPECT_THAT(lines(), ElementsAre("Velmoran", "Camera: In use", "zoom · 1 min",
                                     "Microphone: In use", "zoom · 1 min", "Speaker: 45%",
                                     "Built-in speakers · music has sound open",
                                     "Stop camera and microphone", stopNote, "Recent", ::testing::_,
                                     ::testing::_, "History", "Settings", "Quit"));
    EXPECT_THAT(lines(), Contains("zoom · Camera · Microphone · Now · 1 min"));
    EXPECT_THAT(lines(), Contains("music · Speaker · Now · 1 min"));
    receive({});
    EXPECT_THAT(lines(), Contains("Camera: Not in use"));
    EXPECT_THAT(content().recent, SizeIs(2));
    EXPECT_NE(content().recent.front().time, "Now");
}

TEST_F(Panel, AfterAStopOffersToUnmuteAndThenIsAsBefore) {
    launchWatching();
    model->stopEverything();
    EXPECT_FALSE(content().canStop) << "a second press has no effect";
    time.advanceBy(5);
    EXPECT_TRUE(content().canStop);
    EXPECT_THAT(lines(),
                AllOf(Contains("Microphone: Unmute"), Contains("Muted by Velmoran after a stop")));
    model->unmuteMicrophone();
    EXPECT_THAT(lines(), AllOf(Contains("Microphone: Not in use"),
                               Not(Contains("Muted by Velmoran after a stop"))));
}

TEST_F(Panel, SaysThatAndWhyTheHistoryIsNotSaved) {
    historyFails = true;
    launch();
    ASSERT_THAT(content().warnings, SizeIs(1));
    EXPECT_THAT(content().warnings.front(),
                HasSubstr("History can't be saved right now. Velmoran couldn't open its file on "
                          "this Mac."));
    EXPECT_THAT(content().warnings.front(), HasSubstr("no history"));
    model->historyProblem.set(
        HistoryProblem{.kind = HistoryProblem::Kind::notWritten, .reason = "disk full"});
    EXPECT_THAT(content().warnings, ElementsAre("History can't be saved right now. Its file "
                                                "couldn't be written. (disk full)"));
    model->historyProblem.set(std::nullopt);
    EXPECT_THAT(content().warnings, IsEmpty());
}

TEST_F(Panel, NeverCallsOffWhatIsNotWatched) {
    launch();
    SystemSnapshot reading;
    reading.unwatched = {Device::camera, Device::microphone};
    receive(reading);
    EXPECT_THAT(lines(), AllOf(Contains("Camera: Not watched"), Contains("Microphone: Not watched"),
                               Not(Contains(HasSubstr("Not in use")))));
    EXPECT_THAT(
        content().warnings,
        ElementsAre("The camera isn't being watched: the system doesn't let Velmoran look at it.",
                    "The microphone isn't being watched: no sound server can be reached."));
}

TEST_F(Panel, SaysThatSomethingTookTheSightAway) {
    launchWatching();
    machine.takeSight();
    time.runPosted();
    const auto today = "Something took Velmoran's view of the sound system away (last: " +
                       words().shortTime(time.now()) + ")";
    EXPECT_THAT(content().warnings, ElementsAre(today));
    time.advanceBy(86400);
    EXPECT_THAT(content().warnings.front(), HasSubstr("(last: Yesterday, "));
}

TEST_F(Panel, SaysThatOnlyTheSystemListensWhileTheIconTurns) {
    machine.script.signingIDs = {{appRef("siri").path.value(), "com.apple.corespeechd"}};
    launchWatching();
    receive(microphone({appRef("siri")}));
    ASSERT_EQ(model->statusIconState(), StatusIconState::inUse);
    EXPECT_THAT(lines(), AllOf(Contains("Microphone: Not in use"),
                               Contains("Only macOS itself is listening: siri")));
    receive(microphone({appRef("siri"), appRef("zoom")}));
    EXPECT_THAT(lines(), AllOf(Contains("Microphone: In use"),
                               Not(Contains(HasSubstr("Only macOS itself")))));
    model->settings.ignoreSystemListening.set(false);
    receive(microphone({appRef("siri")}));
    EXPECT_THAT(lines(), AllOf(Contains("Microphone: In use"), Contains("siri · 0 s")));
}

TEST_F(Panel, LeavesOutWhatTheSettingsHide) {
    machine.script.signingIDs = {{appRef("alerts").path.value(), "com.apple.systemsoundserverd"}};
    launchWatching();
    model->settings.monitorSpeakerUse.set(true);
    model->settings.hideSystemSounds.set(true);
    SystemSnapshot reading;
    reading.speakerOn = true;
    reading.speakerApps = {appRef("alerts")};
    receive(reading);
    EXPECT_THAT(content().recent, IsEmpty());
    model->settings.hideSystemSounds.set(false);
    EXPECT_THAT(content().recent, SizeIs(1));
}

TEST_F(Panel, ANameIsOneLineAndObeyedByNoTerminal) {
    launchWatching();
    receive(camera({appRef("zo\nom\x1B[31m")}));
    EXPECT_THAT(lines(), Contains("zo om [31m · 0 s"));
}

} // namespace
} // namespace velmoran
