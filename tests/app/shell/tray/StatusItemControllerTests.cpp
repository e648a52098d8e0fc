#include "app/model/ModelFixture.h"
#include "app/shell/AppDelegate.h"
#include "app/shell/tray/StatusItemController.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

SystemSnapshot recordedBy(const std::string& name) {
    return testing::ModelFixture::microphone({testing::appRef(name)});
}

struct StatusItem : testing::ModelFixture {
    int stops = 0;
    int quits = 0;
    std::unique_ptr<StatusItemController> item;

    void SetUp() override {
        launchWatching();
        item = std::make_unique<StatusItemController>(
            *model, time, AppPicture(),
            StatusItemController::Actions{.stopEverything = [this] { ++stops; },
                                          .quit =
                                              [this] {
                                                  ++quits;
                                              }});
        item->dock();
    }

    std::string toolTip() const { return item->item()->toolTip().toStdString(); }
    const QWidget& panel() const { return item->noticePanel().panel(); }
    std::vector<std::string> menu() const {
        std::vector<std::string> titles;
        for (const auto* action : item->item()->contextMenu()->actions()) {
            if (action->isVisible()) {
                titles.push_back(action->isSeparator() ? "-" : action->text().toStdString());
            }
        }
        return titles;
    }
    QAction* entry(const std::string& title) const {
        for (auto* action : item->item()->contextMenu()->actions()) {
            if (action->text().toStdString() == title) {
                return action;
            }
        }
        throw std::runtime_error("no entry " + title);
    }
};

TEST_F(StatusItem, SaysWhyNobodyIsHeard) {
    model->settings.microphoneMuted.set(true);
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off\n"
                         "The microphone has been muted since a stop.");
    model->settings.microphoneMuted.set(false);
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off");
}

TEST_F(StatusItem, SaysFirstThatTheHistoryIsNotSaved) {
    model->historyProblem.set(
        HistoryProblem{.kind = HistoryProblem::Kind::notOpened, .reason = "not a database"});
    EXPECT_EQ(toolTip(), "History can't be saved right now. Velmoran couldn't open its file on "
                         "this Mac. (not a database)\n"
                         "Velmoran: camera and microphone are off");
    receive(recordedBy("Zoom"));
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use") << "that was saved";
}

TEST_F(StatusItem, KeepsWhatItsCardSaysOfTheHistoryTrue) {
    item->togglePanel();
    ASSERT_THAT(model->notices.items(), SizeIs(1));
    EXPECT_FALSE(model->notices.items().front().message);
    model->historyProblem.set(HistoryProblem{.reason = "Input/output error"});
    EXPECT_EQ(model->notices.items().front().message,
              "History can't be saved right now. Its file couldn't be written. (Input/output "
              "error)");
    model->historyProblem.set(std::nullopt);
    EXPECT_FALSE(model->notices.items().front().message);
}

TEST_F(StatusItem, SaysThatAHistoryCouldNotBeOpenedBeforeThereWasAnIcon) {
    historyFails = true;
    item.reset();
    launchWatching();
    item = std::make_unique<StatusItemController>(*model, time, AppPicture(),
                                                  StatusItemController::Actions{});
    item->dock();
    EXPECT_TRUE(toolTip().starts_with("History can't be saved right now.")) << toolTip();
}

TEST_F(StatusItem, SaysWhatIsOn) {
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off");
    receive(recordedBy("Zoom"));
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use");
    receive({});
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off");
}

TEST_F(StatusItem, SaysWhatIsNotBeingWatched) {
    SystemSnapshot blind;
    blind.unwatched = {Device::camera};
    receive(blind);
    EXPECT_EQ(toolTip(),
              "Velmoran: not everything is being watched\n"
              "The camera isn't being watched: the system doesn't let Velmoran look at it.");
    item->tellCurrentUse();
    ASSERT_THAT(model->notices.items(), SizeIs(1));
    EXPECT_EQ(model->notices.items().front().title, "The microphone is off");
    receive({});
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off");
    EXPECT_EQ(model->notices.items().front().title, "Camera and microphone are off");
}

TEST_F(StatusItem, ShowsAnotherPictureForAnotherState) {
    const auto picture = [&] {
        return item->item()->icon().pixmap(22).toImage();
    };
    const auto idle = picture();
    receive(recordedBy("Zoom"));
    EXPECT_NE(picture(), idle);
    receive({});
    EXPECT_EQ(picture(), idle);
}

TEST_F(StatusItem, WarnsWhileAStrongCardIsShown) {
    SystemSnapshot unknown;
    unknown.cameraOn = true;
    receive(unknown);
    time.advanceBy(2);
    ASSERT_THAT(model->notices.items(), SizeIs(1));
    EXPECT_EQ(toolTip(), "Velmoran: a warning is waiting");
    model->notices.dismiss(model->notices.items().front().id);
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use");
}

TEST_F(StatusItem, AClickTellsWhatIsOnAndASecondOneClosesThat) {
    item->togglePanel();
    EXPECT_TRUE(panel().isVisible());
    ASSERT_THAT(model->notices.items(), SizeIs(1));
    EXPECT_EQ(model->notices.items().front().title, "Camera and microphone are off");
    item->togglePanel();
    EXPECT_FALSE(panel().isVisible());
    EXPECT_THAT(model->notices.items(), SizeIs(0));
}

/// A tray that doesn't tell where its icons are.
struct StatusItemAtAnUnknownPlace : StatusItem {
    QRect screen = QGuiApplication::primaryScreen()->geometry();

    void SetUp() override {
        StatusItem::SetUp();
        ASSERT_TRUE(item->item()->geometry().isEmpty());
    }
    void clickAt(const QPoint& place) {
        QCursor::setPos(place);
        Q_EMIT const_cast<QSystemTrayIcon*>(item->item())->activated(QSystemTrayIcon::Trigger);
    }
    bool isAtTopRight() const {
        return panel().geometry().top() < screen.top() + 20 &&
               panel().geometry().right() > screen.right() - 20;
    }
};

TEST_F(StatusItemAtAnUnknownPlace, ShowsWhereItWasClickedTheCardsOfThatClickOnly) {
    clickAt(screen.bottomLeft() + QPoint(10, -10));
    ASSERT_TRUE(panel().isVisible());
    EXPECT_LT(panel().geometry().left(), screen.left() + 20);
    EXPECT_GT(panel().geometry().bottom(), screen.bottom() - 30);
    // What comes meanwhile stands with it.
    const auto place = panel().geometry().left();
    receive(recordedBy("Zoom"));
    EXPECT_EQ(panel().geometry().left(), place);
    while (!model->notices.items().empty()) {
        model->notices.dismiss(model->notices.items().front().id);
    }
    receive(recordedBy("Teams"));
    ASSERT_TRUE(panel().isVisible());
    EXPECT_TRUE(isAtTopRight());
    // A click on the cards that are there moves nothing.
    clickAt(screen.bottomLeft() + QPoint(10, -10));
    EXPECT_TRUE(isAtTopRight());
}

TEST_F(StatusItemAtAnUnknownPlace, DoesNotTakeAMouseInTheMiddleOfTheScreenForAClick) {
    clickAt(screen.center());
    ASSERT_TRUE(panel().isVisible());
    EXPECT_TRUE(isAtTopRight());
}

TEST_F(StatusItem, AClickAddsNothingToAWarning) {
    receive(recordedBy("Zoom"));
    ASSERT_THAT(model->notices.items(), SizeIs(1));
    item->togglePanel();
    EXPECT_THAT(model->notices.items(), SizeIs(1));
    EXPECT_TRUE(panel().isVisible());
}

TEST_F(StatusItem, ASecondStartShowsItselfHoweverOftenItComes) {
    item->showCards();
    item->showCards();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_THAT(model->notices.items(), SizeIs(1));
}

TEST_F(StatusItem, HasAMenuInWhichEverythingWorks) {
    EXPECT_THAT(menu(),
                ElementsAre("What is on now", "Stop camera and microphone", "-", "Quit Velmoran"));
    EXPECT_TRUE(entry("Stop camera and microphone")->isEnabled());
    entry("What is on now")->trigger();
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(stops, 0);
    entry("Stop camera and microphone")->trigger();
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(quits, 0);
    entry("Quit Velmoran")->trigger();
    EXPECT_EQ(quits, 1);
}

TEST_F(StatusItem, OffersToUnmuteWhileAMuteIsInForce) {
    model->settings.microphoneMuted.set(true);
    EXPECT_THAT(menu(), ElementsAre("What is on now", "Stop camera and microphone",
                                    "Unmute microphone", "-", "Quit Velmoran"));
    entry("Unmute microphone")->trigger();
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_THAT(menu(),
                ElementsAre("What is on now", "Stop camera and microphone", "-", "Quit Velmoran"));
}

TEST_F(StatusItem, TheCardThatTellsWhatIsOnUnmutesAndGoes) {
    model->settings.microphoneMuted.set(true);
    item->showCards();
    press("Unmute microphone");
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_THAT(model->notices.items(), SizeIs(0));
}

TEST_F(StatusItem, TheMenuTellsWhatIsOnBesideAWarning) {
    receive(recordedBy("Zoom"));
    entry("What is on now")->trigger();
    EXPECT_THAT(titles(), ElementsAre("Zoom turned on the microphone", "The microphone is in use"));
    entry("What is on now")->trigger();
    EXPECT_THAT(model->notices.items(), SizeIs(2));
}

TEST_F(StatusItem, TheCardThatTellsWhatIsOnStaysTrue) {
    item->showCards();
    receive(recordedBy("Zoom"));
    EXPECT_THAT(titles(), ElementsAre("The microphone is in use", "Zoom turned on the microphone"));
    receive({});
    EXPECT_EQ(titles().front(), "Camera and microphone are off");
    EXPECT_THAT(model->notices.items().front().buttons, SizeIs(0));
    model->settings.microphoneMuted.set(true);
    EXPECT_THAT(model->notices.items().front().buttons, SizeIs(1));
    model->settings.microphoneMuted.set(false);
    EXPECT_THAT(model->notices.items().front().buttons, SizeIs(0));
}

TEST_F(StatusItem, ThatCardGoesInTimeAlthoughOtherReadingsCome) {
    receive(recordedBy("Zoom"));
    entry("What is on now")->trigger();
    time.advanceBy(5);
    auto louder = recordedBy("Zoom");
    louder.output = OutputDeviceInfo{};
    receive(louder);
    time.advanceBy(4);
    EXPECT_THAT(model->notices.items(), SizeIs(0));
    receive({});
    EXPECT_THAT(model->notices.items(), SizeIs(0));
}

TEST_F(StatusItem, CannotStopWhileAStopIsUnderWay) {
    receive(recordedBy("Zoom"));
    auto* stop = entry("Stop camera and microphone");
    model->stopEverything();
    EXPECT_FALSE(stop->isEnabled());
    time.advanceBy(10);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_TRUE(stop->isEnabled());
}

TEST_F(StatusItem, ShowsCardsBeforeThereIsATray) {
    item.reset();
    item = std::make_unique<StatusItemController>(*model, time, AppPicture(),
                                                  StatusItemController::Actions{});
    ASSERT_EQ(item->item(), nullptr);
    receive(recordedBy("Zoom"));
    EXPECT_TRUE(panel().isVisible());
    item->dock();
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use");
}

TEST_F(StatusItem, ModelChangesAfterItsEndTellNobody) {
    item.reset();
    receive(recordedBy("Zoom"));
    EXPECT_THAT(model->notices.items(), SizeIs(1));
}

struct Delegate : testing::ModelFixture {
    /// Whether the status item was there when the model opened its history.
    std::optional<bool> startedUnderTheItem;
    AppDelegate delegate{ModelSurroundings{machine, time, time, settings,
                                           [this] {
                                               startedUnderTheItem =
                                                   delegate.statusItem() != nullptr;
                                               return store;
                                           }},
                         AppPicture(), [] {
                         }};
};

TEST_F(Delegate, StartsTheModelOnlyOnceTheStatusItemIsThere) {
    EXPECT_FALSE(delegate.statusItem());
    EXPECT_EQ(startedUnderTheItem, std::nullopt);
    EXPECT_FALSE(machine.snapshots().isStarted());
    delegate.didFinishLaunching();
    EXPECT_EQ(startedUnderTheItem, true);
    EXPECT_TRUE(machine.snapshots().isStarted());
    ASSERT_TRUE(delegate.statusItem());
    delegate.model().receive({});
    delegate.model().receive(recordedBy("Zoom"));
    time.runPosted();
    EXPECT_THAT(delegate.model().notices.items(), SizeIs(1));
    EXPECT_TRUE(delegate.statusItem()->noticePanel().panel().isVisible());
}

TEST_F(Delegate, StopsOnlyTheMonitorAtTheEnd) {
    delegate.didFinishLaunching();
    delegate.model().receive({});
    delegate.model().receive(recordedBy("Zoom"));
    time.runPosted();
    EXPECT_FALSE(machine.snapshots().isStopped());
    delegate.model().stopMonitor();
    EXPECT_TRUE(machine.snapshots().isStopped());
    ASSERT_THAT(store->sessions(), SizeIs(1));
    EXPECT_EQ(store->sessions().front().end, std::nullopt);
    EXPECT_EQ(store->sessions().front().outcome, std::nullopt);
}

TEST_F(Delegate, AReopenBeforeTheStartDoesNothing) {
    delegate.reopen();
    EXPECT_THAT(delegate.model().notices.items(), SizeIs(0));
    delegate.didFinishLaunching();
    delegate.reopen();
    EXPECT_THAT(delegate.model().notices.items(), SizeIs(1));
}

} // namespace
} // namespace velmoran
