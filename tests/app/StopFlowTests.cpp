// What a stop asks, does and says, on a scripted machine.
#include "tests/app/ModelFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using Titles = std::vector<std::string>;

AppRef surf() {
    return {.name = "Surf", .bundleID = "org.example.surf", .path = "/Applications/Surf"};
}

struct StopFlowTest : testing::ModelFixture {
    std::vector<std::pair<bool, MuteOutcome>> mutes;
    std::vector<std::pair<std::string, bool>> closed;
    std::vector<BrowserQuestion> questions;
    std::function<void(BrowserAnswer)> answer; ///< to the last question
    int shown = 0;                             ///< questions on screen
    int raised = 0;                            ///< questions brought to the front

    void begin() {
        machine.script.browsers = {"org.example.surf"};
        askAboutBrowsers = [this](const BrowserQuestion& question, auto answered) {
            questions.push_back(question);
            answer = answered;
            ++shown;
            return ShownQuestion{.raise = [this] { ++raised; },
                                 .shown = Subscription([this] { --shown; })};
        };
        launch();
        subscriptions.push_back(model->onMicrophonesMuted.subscribe(
            [this](bool on, const MuteOutcome& outcome) { mutes.emplace_back(on, outcome); }));
        subscriptions.push_back(model->onAppClosed.subscribe(
            [this](const AppIdentity& app, bool gone) { closed.emplace_back(app.name, gone); }));
        receive({});
    }

    /// A question that stands goes with the model, and is counted here.
    void TearDown() override {
        subscriptions.clear();
        model.reset();
    }

    void passTime(Seconds seconds) { time.advanceBy(seconds); }
    AppIdentity seen(const AppRef& app) { return model->seenApp(app.id()).value(); }
    SessionOutcome storedOutcome() { return store->sessions().front().outcome.value(); }
};

using Closed = std::vector<std::pair<std::string, bool>>;

TEST_F(StopFlowTest, MutesAndClosesAndSaysSo) {
    begin();
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    EXPECT_TRUE(*model->isStopping);
    time.runPosted();
    ASSERT_EQ(mutes.size(), 1U);
    EXPECT_TRUE(mutes[0].first);
    EXPECT_EQ(mutes[0].second.mutedCount, 1);
    EXPECT_TRUE(*model->settings.microphoneMuted) << "whatever becomes of the stop";
    passTime(0.1);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
    EXPECT_EQ(titles().back(), "Microphone muted. Zoom was closed.");
    EXPECT_TRUE(*model->settings.microphoneMuted);
    receive({});
    EXPECT_EQ(storedOutcome(), SessionOutcome::stoppedByUser);
}

TEST_F(StopFlowTest, TellsOfAStopToTheUserAlsoWhenTheSessionEndedBeforeTheAnswer) {
    begin();
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    time.runPosted();
    passTime(0.05);
    receive({});
    EXPECT_EQ(storedOutcome(), SessionOutcome::endedNormally) << "nobody knows yet why";
    passTime(0.05);
    EXPECT_EQ(storedOutcome(), SessionOutcome::stoppedByUser);
    EXPECT_EQ((*model->historySessions)[0].outcome, SessionOutcome::stoppedByUser);
}

TEST_F(StopFlowTest, BringsNothingBackIntoADeletedHistory) {
    begin();
    receive(microphone({appRef("Zoom")}));
    model->stopEverything();
    time.runPosted();
    receive({});
    model->deleteHistory();
    passTime(1);
    EXPECT_EQ(store->sessionCount(), 0U);
}

TEST_F(StopFlowTest, LeavesTheSessionsOfAnAppThatRefuses) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stopEverything();
    time.runPosted();
    passTime(3.4);
    EXPECT_TRUE(*model->isStopping);
    passTime(0.1);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_EQ(closed, (Closed{{"Mule", false}}));
    receive({});
    EXPECT_EQ(storedOutcome(), SessionOutcome::endedNormally);
}

TEST_F(StopFlowTest, TriesAgainWhenItIsTold) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stop(seen(appRef("Mule")));
    passTime(3.5);
    const auto card = model->notices.items().back();
    EXPECT_EQ(card.title, "Nothing could be stopped.");
    EXPECT_EQ(card.autoHideAfter, std::nullopt);
    machine.script.refusesToClose.clear();
    press("Try again");
    EXPECT_FALSE(model->notices.item(card.id));
    passTime(0.1);
    EXPECT_EQ(titles().back(), "Mule was closed.");
}

TEST_F(StopFlowTest, TakesTheCardAwayForDetails) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stop(seen(appRef("Mule")));
    passTime(3.5);
    const auto id = model->notices.items().back().id;
    press("Details");
    EXPECT_FALSE(model->notices.item(id));
    EXPECT_FALSE(*model->isStopping);
}

TEST_F(StopFlowTest, DropsASecondPressWhateverItsDoor) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->settings.confirmClosingBrowser.set(false);
    model->stop(seen(appRef("Zoom")));
    model->settings.confirmClosingBrowser.set(true);
    model->stopEverything();
    model->stop(seen(surf()));
    passTime(1);
    EXPECT_TRUE(questions.empty());
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
    EXPECT_TRUE(mutes.empty());
}

TEST_F(StopFlowTest, ClosesABrowserWithoutAskingWhenTheSettingIsOff) {
    begin();
    model->settings.confirmClosingBrowser.set(false);
    receive(camera({surf()}));
    model->stopEverything();
    time.runPosted();
    passTime(0.1);
    EXPECT_TRUE(questions.empty());
    EXPECT_EQ(closed, (Closed{{"Surf", true}}));
}

TEST_F(StopFlowTest, AsksBeforeItClosesABrowser) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_EQ(questions[0], (BrowserQuestion{.browsers = {"Surf"}, .keepOffered = true}));
    EXPECT_FALSE(*model->isStopping);
    EXPECT_TRUE(mutes.empty());
    answer(BrowserAnswer::close);
    time.runPosted();
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"Surf", true}, {"Zoom", true}}));
}

TEST_F(StopFlowTest, KeepsTheBrowserAndStopsTheRest) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    answer(BrowserAnswer::keep);
    time.runPosted();
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
    EXPECT_EQ(mutes.size(), 1U);
}

TEST_F(StopFlowTest, DoesNothingWhenItIsCancelled) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    answer(BrowserAnswer::cancel);
    passTime(5);
    EXPECT_TRUE(closed.empty());
    EXPECT_TRUE(mutes.empty());
    EXPECT_FALSE(*model->isStopping);
    model->stopEverything();
    EXPECT_EQ(questions.size(), 2U) << "the next press asks again";
}

TEST_F(StopFlowTest, AsksOnceHoweverOftenItIsPressedAndShowsTheQuestion) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    EXPECT_EQ(raised, 0);
    model->stopEverything();
    EXPECT_EQ(raised, 1);
    model->stop(seen(surf()));
    EXPECT_EQ(raised, 2);
    model->stop(seen(appRef("Zoom")));
    EXPECT_EQ(raised, 3);
    EXPECT_EQ(questions.size(), 1U);
    answer(BrowserAnswer::cancel);
    EXPECT_EQ(shown, 0);
    passTime(5);
    EXPECT_TRUE(closed.empty());
}

TEST_F(StopFlowTest, ACardThatWasPressedBesideTheQuestionStays) {
    begin();
    receive(camera({surf()}));
    receive(camera({surf(), appRef("Zoom")}));
    const auto card = model->notices.items().back().id;
    model->stop(seen(surf()));
    press("Stop");
    EXPECT_EQ(raised, 1);
    EXPECT_TRUE(model->notices.item(card));
    answer(BrowserAnswer::cancel);
    press("Stop");
    EXPECT_FALSE(model->notices.item(card));
    passTime(0.1);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
}

TEST_F(StopFlowTest, AResultThatWasPressedBesideTheQuestionStays) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({surf(), appRef("Mule")}));
    model->stop(seen(appRef("Mule")));
    passTime(3.5);
    const auto card = model->notices.items().back().id;
    model->stop(seen(surf()));
    press("Try again");
    EXPECT_EQ(raised, 1);
    EXPECT_TRUE(model->notices.item(card));
    EXPECT_FALSE(*model->isStopping);
}

TEST_F(StopFlowTest, AnAnsweredQuestionIsNotShownAgain) {
    begin();
    receive(camera({surf()}));
    model->stopEverything();
    const auto first = answer;
    first(BrowserAnswer::cancel);
    model->raiseQuestion();
    EXPECT_EQ(raised, 0);
    model->stopEverything();
    first(BrowserAnswer::close);
    EXPECT_TRUE(model->isAsking()) << "the second one is not answered by the first one's answer";
    EXPECT_FALSE(*model->isStopping);
}

TEST_F(StopFlowTest, AsksNoLongerAboutABrowserThatEndsByItself) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    receive(camera({appRef("Zoom")}));
    passTime(0.9);
    EXPECT_EQ(shown, 1) << "it may only change its device";
    passTime(0.1);
    EXPECT_EQ(shown, 0);
    EXPECT_TRUE(*model->isStopping) << "the rest goes on as it was pressed";
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
    EXPECT_EQ(mutes.size(), 1U);
    EXPECT_EQ(titles().back(), "Microphone muted. Zoom was closed.");
    answer(BrowserAnswer::cancel);
    EXPECT_EQ(closed.size(), 1U) << "an answer that comes too late is none";
}

TEST_F(StopFlowTest, SaysSoWhenTheOneAppThatItAskedAboutEndsByItself) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stop(seen(surf()));
    receive(camera({appRef("Zoom")}));
    passTime(1);
    EXPECT_EQ(shown, 0);
    EXPECT_FALSE(model->isBusyStopping());
    EXPECT_TRUE(closed.empty());
    EXPECT_TRUE(mutes.empty());
    EXPECT_EQ(titles().back(), "Nothing needed to be closed.");
}

TEST_F(StopFlowTest, GoesOnAskingWhileOneOfTheBrowsersIsOn) {
    begin();
    machine.script.browsers = {"org.example.surf", "org.example.Dive"};
    receive(camera({surf(), appRef("Dive")}));
    model->stopEverything();
    EXPECT_EQ(questions[0].browsers, (std::vector<std::string>{"Surf", "Dive"}));
    receive(camera({surf()}));
    passTime(5);
    EXPECT_EQ(shown, 1);
    receive({});
    passTime(0.5);
    receive(camera({surf()}));
    passTime(5);
    EXPECT_EQ(shown, 1) << "it was off for a moment only";
    receive(microphone({surf()}));
    passTime(5);
    EXPECT_EQ(shown, 1) << "another device is a use as well";
    receive({});
    passTime(1);
    EXPECT_EQ(shown, 0);
}

TEST_F(StopFlowTest, PlayingIsNoReasonToGoOnAsking) {
    settings.setBoolean("monitorSpeakerUse", true);
    begin();
    auto both = camera({surf()});
    both.speakerOn = true;
    both.speakerApps = {surf()};
    receive(both);
    model->stopEverything();
    both.cameraOn = false;
    both.cameraApps = {};
    receive(both);
    passTime(1);
    EXPECT_EQ(shown, 0);
}

TEST_F(StopFlowTest, AsksAboutAnAppThatIsOffForAsLongAsTheUserThinks) {
    begin();
    receive(camera({surf()}));
    receive({});
    model->stop(seen(surf()));
    receive(camera({appRef("Zoom")}));
    passTime(60);
    EXPECT_EQ(shown, 1);
}

TEST_F(StopFlowTest, TakesTheQuestionAwayAtItsEnd) {
    begin();
    receive(camera({surf()}));
    model->stopEverything();
    subscriptions.clear();
    model.reset();
    EXPECT_EQ(shown, 0);
}

TEST_F(StopFlowTest, OffersNoKeepingForOneApp) {
    begin();
    receive(camera({surf()}));
    model->stop(seen(surf()));
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_FALSE(questions[0].keepOffered);
    answer(BrowserAnswer::keep);
    passTime(1);
    EXPECT_TRUE(closed.empty());
}

TEST_F(StopFlowTest, AsksAboutBrowsersThatUseOnlyTheSpeakerNever) {
    settings.setBoolean("monitorSpeakerUse", true);
    begin();
    SystemSnapshot playing;
    playing.speakerOn = true;
    playing.speakerApps = {surf()};
    receive(playing);
    ASSERT_EQ(model->openSessions->size(), 1U);
    model->stopEverything();
    EXPECT_TRUE(questions.empty());
    time.runPosted();
    EXPECT_EQ(titles().back(), "Microphone muted. No app was using the camera or microphone.");
}

/// The user is asked about Surf, and meanwhile Late comes and Zoom.
struct LateBrowser : StopFlowTest {
    void SetUp() override {
        begin();
        machine.script.browsers = {"org.example.surf", "org.example.Late"};
        receive(camera({surf()}));
        model->stopEverything();
        receive(camera({surf(), appRef("Late"), appRef("Zoom")}));
    }
};

TEST_F(LateBrowser, IsAskedAboutBeforeAnythingIsClosed) {
    answer(BrowserAnswer::close);
    passTime(5);
    EXPECT_TRUE(closed.empty());
    ASSERT_EQ(questions.size(), 2U);
    EXPECT_EQ(questions[1], (BrowserQuestion{.browsers = {"Late"}, .keepOffered = true}));
    EXPECT_EQ(shown, 1);
    answer(BrowserAnswer::close);
    passTime(0.4);
    EXPECT_EQ(closed, (Closed{{"Surf", true}, {"Late", true}, {"Zoom", true}}));
    EXPECT_EQ(questions.size(), 2U);
}

TEST_F(LateBrowser, CanBeKept) {
    answer(BrowserAnswer::close);
    answer(BrowserAnswer::keep);
    passTime(0.4);
    EXPECT_EQ(closed, (Closed{{"Surf", true}, {"Zoom", true}}));
}

TEST_F(LateBrowser, CanBeClosedWhereTheFirstOneIsKept) {
    answer(BrowserAnswer::keep);
    EXPECT_EQ(questions.size(), 2U);
    answer(BrowserAnswer::close);
    passTime(0.4);
    EXPECT_EQ(closed, (Closed{{"Late", true}, {"Zoom", true}}));
}

TEST_F(LateBrowser, CanCallTheWholeStopOff) {
    answer(BrowserAnswer::close);
    answer(BrowserAnswer::cancel);
    passTime(5);
    EXPECT_TRUE(closed.empty());
    EXPECT_TRUE(mutes.empty());
    EXPECT_FALSE(model->isBusyStopping());
}

TEST_F(LateBrowser, IsClosedUnaskedWhereTheUserWantsThatByNow) {
    model->settings.confirmClosingBrowser.set(false);
    answer(BrowserAnswer::close);
    passTime(0.4);
    EXPECT_EQ(questions.size(), 1U);
    EXPECT_EQ(closed, (Closed{{"Surf", true}, {"Late", true}, {"Zoom", true}}));
}

TEST_F(LateBrowser, IsAskedAboutWhenTheFirstOneHasEndedByItself) {
    receive(camera({appRef("Late")}));
    passTime(1);
    ASSERT_EQ(questions.size(), 2U);
    EXPECT_EQ(questions[1].browsers, (std::vector<std::string>{"Late"}));
    receive(camera({surf(), appRef("Late")}));
    answer(BrowserAnswer::close);
    passTime(5);
    EXPECT_TRUE(closed.empty()) << "nobody has answered for Surf";
    ASSERT_EQ(questions.size(), 3U);
    EXPECT_EQ(questions[2].browsers, (std::vector<std::string>{"Surf"}));
    answer(BrowserAnswer::keep);
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"Late", true}}));
}

TEST_F(StopFlowTest, LeavesTheMicrophoneAloneForACameraOnlyApp) {
    begin();
    receive(camera({appRef("Zoom")}));
    model->stop(seen(appRef("Zoom")));
    passTime(1);
    EXPECT_TRUE(mutes.empty());
    EXPECT_FALSE(*model->settings.microphoneMuted);
}

TEST_F(StopFlowTest, StartsNoKeeperWhenNothingCouldBeMuted) {
    begin();
    machine.script.microphones = {{"Bare Mic", false, std::nullopt}};
    model->stopEverything();
    time.runPosted();
    EXPECT_FALSE(*model->settings.microphoneMuted);
    machine.script.microphones = {{"New Mic", false, 0.5}};
    passTime(10);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.5);
}

TEST_F(StopFlowTest, KeepsTheMuteUpUntilItIsUndone) {
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

TEST_F(StopFlowTest, AKeeperThatRunsIsNotStartedAgain) {
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

TEST_F(StopFlowTest, EndsAMuteThatAnotherProgramOfTheUserHasEnded) {
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

TEST_F(StopFlowTest, AnArrivalShowsThatAnotherProgramHasEndedTheMute) {
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

TEST_F(StopFlowTest, KeepsTheMuteUpWhenItsSettingIsLost) {
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

TEST_F(StopFlowTest, KnowsOfTheMuteOfAStopThatWasCutShort) {
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

TEST_F(StopFlowTest, AnUnmuteInTheMiddleOfAStopHolds) {
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

TEST_F(StopFlowTest, AnUnmuteBeforeTheMutesAnswerHolds) {
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

TEST_F(StopFlowTest, TakesUpAMuteThatTookEffectLate) {
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

TEST_F(StopFlowTest, SaysThatItMutedIfThatTookEffectWhileItClosed) {
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

TEST_F(StopFlowTest, LeavesALateMuteThatWasUndone) {
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

TEST_F(StopFlowTest, MutesAMicrophoneThatArrivesAtOnce) {
    begin();
    model->stopEverything();
    time.runPosted();
    machine.script.microphones.push_back({"New Mic", false, 0.5});
    machine.microphoneArrived();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[1].volume, 0.0);
}

TEST_F(StopFlowTest, LeavesAMicrophoneThatArrivesWithoutAMute) {
    begin();
    machine.script.microphones.push_back({"New Mic", false, 0.5});
    machine.microphoneArrived();
    time.runPosted();
    EXPECT_EQ(machine.script.microphones[1].volume, 0.5);
}

TEST_F(StopFlowTest, MutesAgainAfterARestart) {
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

TEST_F(StopFlowTest, AnswersThatComeAfterTheModelsEndDoNothing) {
    begin();
    receive(camera({surf()}));
    model->stopEverything();
    subscriptions.clear();
    model.reset();
    answer(BrowserAnswer::close);
    time.advanceBy(5);
    EXPECT_TRUE(closed.empty());
}

TEST_F(StopFlowTest, EndsWithTheModelInTheMiddle) {
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stopEverything();
    subscriptions.clear();
    model.reset();
    time.advanceBy(5);
    EXPECT_TRUE(closed.empty());
}

// MARK: - The speakers

SystemSnapshot output(std::uint32_t id, OutputDeviceInfo::Kind kind, bool isMuted = false) {
    SystemSnapshot snapshot;
    snapshot.output = OutputDeviceInfo{
        .objectID = id, .name = "Out", .kind = kind, .volume = 0.5F, .isMuted = isMuted};
    return snapshot;
}

using Kind = OutputDeviceInfo::Kind;

struct OutputGuardTest : StopFlowTest {
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
    auto playing = output(2, Kind::headphones);
    playing.speakerOn = true;
    playing.speakerApps = {appRef("Music")};
    receive(playing);
    playing.output = output(1, Kind::builtInSpeakers).output;
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
    receive(output(2, Kind::headphones));
    receive(output(1, Kind::builtInSpeakers));
    const auto card = model->notices.items().back();
    EXPECT_EQ(card.title, "Headphones disconnected");
    EXPECT_EQ(card.message, "Sound now comes out of the speakers. Velmoran couldn't mute them.");
    EXPECT_EQ(card.symbol, "speaker.wave.2");
    EXPECT_TRUE(card.buttons.empty());
    EXPECT_EQ(card.autoHideAfter, std::nullopt);
}

TEST_F(OutputGuardTest, HasNothingToSayWhenNobodyPlays) {
    beginGuarding();
    receive(output(1, Kind::headphones));
    receive(output(1, Kind::builtInSpeakers));
    EXPECT_EQ(outputMutes, (OutputMutes{{1, true}}));
    EXPECT_EQ(model->notices.items().back().message, std::nullopt);
}

TEST_F(OutputGuardTest, DoesNothingWhenItIsOff) {
    beginGuarding(false);
    receive(output(2, Kind::headphones));
    receive(output(1, Kind::builtInSpeakers));
    EXPECT_TRUE(outputMutes.empty());
    EXPECT_TRUE(titles().empty());
}

TEST_F(OutputGuardTest, LeavesSpeakersThatWerePickedByHand) {
    beginGuarding();
    machine.script.outputs = {1, 2};
    receive(output(2, Kind::headphones));
    receive(output(1, Kind::builtInSpeakers));
    EXPECT_TRUE(outputMutes.empty());
}

TEST_F(OutputGuardTest, LeavesEveryOtherChange) {
    beginGuarding();
    receive(output(1, Kind::builtInSpeakers));
    receive(output(2, Kind::headphones));
    receive(output(3, Kind::other));
    receive(output(2, Kind::headphones));
    receive(output(1, Kind::builtInSpeakers, true));
    receive({});
    receive(output(1, Kind::builtInSpeakers));
    EXPECT_TRUE(outputMutes.empty());
    EXPECT_TRUE(titles().empty());
}

} // namespace
} // namespace velmoran
