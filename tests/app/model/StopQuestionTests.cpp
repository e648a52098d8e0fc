// What is asked before a stop closes browsers.
#include "tests/app/model/StopFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using testing::Closed;
using testing::surf;

struct StopQuestionTest : testing::StopFixture {};

TEST_F(StopQuestionTest, ClosesABrowserWithoutAskingWhenTheSettingIsOff) {
    begin();
    model->settings.confirmClosingBrowser.set(false);
    receive(camera({surf()}));
    model->stopEverything();
    time.runPosted();
    passTime(0.1);
    EXPECT_TRUE(questions.empty());
    EXPECT_EQ(closed, (Closed{{"Surf", true}}));
}

TEST_F(StopQuestionTest, AsksBeforeItClosesABrowser) {
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

TEST_F(StopQuestionTest, AsksOnLinuxAboutABrowserThatWasOnlyUnpacked) {
    machine.script.platform = Platform::linux;
    begin();
    const AppRef unpacked{
        .name = "firefox.real", .bundleID = {}, .path = "/home/u/tor/Browser/firefox.real"};
    const AppRef recorder{.name = "recorder", .bundleID = {}, .path = "/home/u/tor/recorder"};
    receive(camera({unpacked, recorder}));
    model->stopEverything();
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_EQ(questions[0], (BrowserQuestion{.browsers = {"firefox.real"}, .keepOffered = true}));
    answer(BrowserAnswer::cancel);
    model->stop(seen(unpacked));
    EXPECT_EQ(questions.size(), 2U);
    answer(BrowserAnswer::cancel);
    model->stop(seen(recorder));
    EXPECT_EQ(questions.size(), 2U);
    time.runPosted();
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"recorder", true}}));
}

TEST_F(StopQuestionTest, OnAMacAProgramsNameMakesNoBrowser) {
    begin();
    const AppRef program{.name = "firefox", .bundleID = {}, .path = "/Users/u/firefox"};
    receive(camera({program}));
    model->stop(seen(program));
    EXPECT_TRUE(questions.empty());
}

TEST_F(StopQuestionTest, KeepsTheBrowserAndStopsTheRest) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    answer(BrowserAnswer::keep);
    time.runPosted();
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
    EXPECT_EQ(mutes.size(), 1U);
}

TEST_F(StopQuestionTest, DoesNothingWhenItIsCancelled) {
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

TEST_F(StopQuestionTest, AsksOnceHoweverOftenItIsPressedAndShowsTheQuestion) {
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

TEST_F(StopQuestionTest, ACardThatWasPressedBesideTheQuestionStays) {
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

TEST_F(StopQuestionTest, AResultThatWasPressedBesideTheQuestionStays) {
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

TEST_F(StopQuestionTest, AnAnsweredQuestionIsNotShownAgain) {
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

TEST_F(StopQuestionTest, StandsWhenTheBrowserEndsByItselfAndClosesNothingBeforeTheAnswer) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    receive(camera({appRef("Zoom")}));
    passTime(3600);
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(model->isBusyStopping());
    EXPECT_TRUE(mutes.empty());
    EXPECT_TRUE(closed.empty());
    answer(BrowserAnswer::cancel);
    passTime(5);
    EXPECT_EQ(shown, 0);
    EXPECT_TRUE(mutes.empty());
    EXPECT_TRUE(closed.empty());
    EXPECT_FALSE(model->isBusyStopping());
}

TEST_F(StopQuestionTest, StopsWhatTheAnswerStillFinds) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    receive(camera({appRef("Zoom")}));
    passTime(5);
    receive(camera({appRef("Zoom"), appRef("Late")}));
    answer(BrowserAnswer::close);
    passTime(0.3);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}, {"Late", true}}));
    EXPECT_EQ(mutes.size(), 1U);
    EXPECT_EQ(titles().back(), "Microphone muted. Zoom and Late were closed.");
}

TEST_F(StopQuestionTest, ClosesABrowserThatWasOffAndIsBackAtTheAnswer) {
    begin();
    receive(camera({surf()}));
    model->stopEverything();
    receive({});
    passTime(5);
    receive(microphone({surf()}));
    EXPECT_EQ(questions.size(), 1U);
    answer(BrowserAnswer::close);
    passTime(0.1);
    EXPECT_EQ(questions.size(), 1U);
    EXPECT_EQ(closed, (Closed{{"Surf", true}}));
}

TEST_F(StopQuestionTest, KeepsABrowserThatWasOffAndIsBackAtTheAnswer) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stopEverything();
    receive(camera({appRef("Zoom")}));
    passTime(5);
    receive(camera({surf(), appRef("Zoom")}));
    answer(BrowserAnswer::keep);
    passTime(0.1);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
}

TEST_F(StopQuestionTest, SaysAtTheAnswerThatTheOneAppThatItAskedAboutHasEnded) {
    begin();
    receive(camera({surf(), appRef("Zoom")}));
    model->stop(seen(surf()));
    receive(camera({appRef("Zoom")}));
    passTime(60);
    EXPECT_EQ(shown, 1);
    answer(BrowserAnswer::close);
    EXPECT_EQ(shown, 0);
    EXPECT_FALSE(model->isBusyStopping());
    EXPECT_TRUE(closed.empty());
    EXPECT_TRUE(mutes.empty());
    EXPECT_EQ(titles().back(), "Nothing needed to be closed.");
}

TEST_F(StopQuestionTest, StandsThroughEveryChangeOfUse) {
    settings.setBoolean("monitorSpeakerUse", true);
    begin();
    receive({});
    receive(camera({surf()}));
    model->stop(seen(surf()));
    auto playing = SystemSnapshot();
    playing.speakerOn = true;
    playing.speakerApps = {surf()};
    for (const auto& reading : {camera({appRef("Zoom")}), microphone({surf()}), playing,
                                SystemSnapshot(), camera({surf()}), SystemSnapshot()}) {
        receive(reading);
        passTime(2);
        EXPECT_EQ(shown, 1);
        EXPECT_EQ(questions.size(), 1U);
    }
}

TEST_F(StopQuestionTest, TakesTheQuestionAwayAtItsEnd) {
    begin();
    receive(camera({surf()}));
    model->stopEverything();
    subscriptions.clear();
    model.reset();
    EXPECT_EQ(shown, 0);
}

TEST_F(StopQuestionTest, OffersNoKeepingForOneApp) {
    begin();
    receive(camera({surf()}));
    model->stop(seen(surf()));
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_FALSE(questions[0].keepOffered);
    answer(BrowserAnswer::keep);
    passTime(1);
    EXPECT_TRUE(closed.empty());
}

TEST_F(StopQuestionTest, AsksAboutBrowsersThatUseOnlyTheSpeakerNever) {
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
struct LateBrowser : StopQuestionTest {
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

TEST_F(LateBrowser, IsAskedAboutAfterTheAnswerWhenTheFirstOneHasEndedByItself) {
    receive(camera({appRef("Late"), appRef("Zoom")}));
    passTime(5);
    EXPECT_EQ(questions.size(), 1U);
    answer(BrowserAnswer::close);
    ASSERT_EQ(questions.size(), 2U);
    EXPECT_EQ(questions[1].browsers, (std::vector<std::string>{"Late"}));
    EXPECT_TRUE(mutes.empty());
    answer(BrowserAnswer::keep);
    passTime(0.2);
    EXPECT_EQ(closed, (Closed{{"Zoom", true}}));
}

} // namespace
} // namespace velmoran
