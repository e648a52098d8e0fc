// What a stop does and says, on a scripted machine.
#include "tests/app/model/StopFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using testing::Closed;
using testing::surf;

struct StopFlowTest : testing::StopFixture {};

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
    EXPECT_EQ(titles().back(), "Mule was closed.") << "nobody else is to be stopped";
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

TEST_F(StopFlowTest, DetailsOfAResultShowTheHistoryInTheCardsPlace) {
    struct ShownWindows final : Windows {
        std::vector<std::string> shown;
        void show(std::string_view id) override { shown.emplace_back(id); }
    } all;
    windows = &all;
    begin();
    machine.script.refusesToClose = {appRef("Mule").id()};
    receive(camera({appRef("Mule")}));
    model->stopEverything();
    passTime(3.5);
    const auto card = model->notices.items().back().id;
    press("Details");
    EXPECT_FALSE(model->notices.item(card));
    EXPECT_EQ(all.shown, (std::vector<std::string>{"history"}));
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

} // namespace
} // namespace velmoran
