#include "app/model/ModelFixture.h"
#include "app/shell/tray/StatusItemController.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

SystemSnapshot recordedBy(const std::string& name) {
    return testing::ModelFixture::microphone({testing::appRef(name)});
}

struct StatusItem : testing::ModelFixture {
    std::vector<std::string> done;
    std::unique_ptr<StatusItemController> item;
    QPointer<QWidget> content;
    std::function<void()> leave;

    StatusItemController::Actions actions() {
        const auto noting = [this](const char* what) {
            return [this, what] {
                done.emplace_back(what);
            };
        };
        return {.stopEverything = noting("stop"),
                .showMain = noting("main"),
                .showHistory = noting("history"),
                .showSettings = noting("settings"),
                .quit = noting("quit"),
                .makePanel = [this](const std::function<void()>& leaving) {
                    auto made = std::make_unique<QWidget>();
                    made->setFixedSize(320, 400);
                    content = made.get();
                    leave = leaving;
                    return made;
                }};
    }

    void SetUp() override {
        launchWatching();
        item = std::make_unique<StatusItemController>(*model, AppPicture(), actions());
        item->dock();
    }

    std::string toolTip() const { return item->item()->toolTip().toStdString(); }
    const QWidget& cards() const { return item->noticePanel().panel(); }
    bool isPanelOpen() const { return item->panel() && item->panel()->isVisible(); }
    /// In its coordinates, as it gets all presses while it is there.
    void pressOnPanel(const QPoint& place) const {
        QMouseEvent press(QEvent::MouseButtonPress, place, item->panel()->mapToGlobal(place),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(item->panel(), &press);
    }
    static void settle() {
        for (int i = 0; i < 4; ++i) {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }
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
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use\nZoom is using the microphone")
        << "that was saved";
}

TEST_F(StatusItem, SaysThatAHistoryCouldNotBeOpenedBeforeThereWasAnIcon) {
    historyFails = true;
    item.reset();
    launchWatching();
    item = std::make_unique<StatusItemController>(*model, AppPicture(),
                                                  StatusItemController::Actions{});
    item->dock();
    EXPECT_TRUE(toolTip().starts_with("History can't be saved right now.")) << toolTip();
}

TEST_F(StatusItem, SaysWhatIsOn) {
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off");
    receive(recordedBy("Zoom"));
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use\nZoom is using the microphone");
    receive(recordedBy("Other"));
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use\nOther is using the microphone");
    receive({});
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off");
}

TEST_F(StatusItem, NamesALevelMeterAsSuch) {
    const auto meter = testing::appRef("siri");
    machine.script.signingIDs = {{meter.path.value(), "com.apple.corespeechd"}};
    receive(recordedBy("siri"));
    EXPECT_EQ(toolTip(), "Velmoran: Only macOS itself is listening: siri");
    auto both = microphone({meter, testing::appRef("Zoom")});
    receive(both);
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use\nZoom is using the microphone");
    both = microphone({meter});
    both.unwatched = {Device::camera};
    receive(both);
    EXPECT_EQ(toolTip(), "Velmoran: Only macOS itself is listening: siri\n"
                         "The camera isn't being watched: the system doesn't let Velmoran look at "
                         "it.");
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
    receive({});
    EXPECT_EQ(toolTip(), "Velmoran: camera and microphone are off");
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
    EXPECT_EQ(toolTip(), "Velmoran: a warning is waiting\nUnknown app is using the camera");
    model->notices.dismiss(model->notices.items().front().id);
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use\nUnknown app is using the camera");
}

TEST_F(StatusItem, TogglingThePanelTwiceClosesIt) {
    EXPECT_FALSE(item->panel()) << "nothing is made that nobody has asked for";
    item->togglePanel();
    EXPECT_TRUE(isPanelOpen());
    ASSERT_TRUE(content);
    EXPECT_TRUE(content->isVisible());
    EXPECT_THAT(model->notices.items(), SizeIs(0)) << "it is no card";
    item->togglePanel();
    EXPECT_FALSE(isPanelOpen());
    settle();
    EXPECT_FALSE(content);
    item->togglePanel();
    EXPECT_TRUE(isPanelOpen());
}

TEST_F(StatusItem, ThePanelHasTheKeyboardAndGoesWithEscape) {
    item->togglePanel();
    settle();
    EXPECT_EQ(QApplication::activePopupWidget(), item->panel());
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(item->panel(), &escape);
    EXPECT_FALSE(isPanelOpen());
}

TEST_F(StatusItem, ThePanelGoesWithAClickElsewhere) {
    item->togglePanel();
    settle();
    pressOnPanel({100, 100});
    EXPECT_TRUE(isPanelOpen()) << "that was inside";
    pressOnPanel({-100, 500});
    EXPECT_FALSE(isPanelOpen());
}

TEST_F(StatusItem, ThePanelGoesBeforeWhatItOpens) {
    item->togglePanel();
    leave();
    EXPECT_FALSE(isPanelOpen());
    EXPECT_TRUE(content) << "it is at work still";
    item->togglePanel();
    QWidget window;
    window.show();
    EXPECT_FALSE(isPanelOpen());
}

TEST_F(StatusItem, ThePanelStaysForItsOwnMenusAndForCards) {
    item->togglePanel();
    QMenu menu(content);
    menu.addAction(QStringLiteral("entry"));
    menu.popup({10, 10});
    EXPECT_TRUE(isPanelOpen());
    menu.close();
    receive(recordedBy("Zoom"));
    EXPECT_TRUE(cards().isVisible());
    EXPECT_TRUE(isPanelOpen());
}

TEST_F(StatusItem, AClickPutsThePanelBesideTheCardsAndTheNextTakesItAway) {
    receive(recordedBy("Zoom"));
    ASSERT_THAT(model->notices.items(), SizeIs(1));
    const auto place = cards().geometry();
    item->togglePanel();
    EXPECT_THAT(model->notices.items(), SizeIs(1));
    ASSERT_TRUE(isPanelOpen());
    constexpr int shadow = NoticeStackView::padding;
    EXPECT_FALSE(cards()
                     .geometry()
                     .adjusted(shadow, shadow, -shadow, -shadow)
                     .intersects(item->panel()->geometry()));
    EXPECT_EQ(cards().y(), place.y());
    item->togglePanel();
    EXPECT_TRUE(cards().isVisible());
    EXPECT_EQ(cards().geometry(), place);
}

TEST_F(StatusItem, CardsGrowWithTheDesktopsLetters) {
    receive(recordedBy("Zoom"));
    settle();
    ASSERT_TRUE(cards().isVisible());
    const auto before = cards().height();
    const auto font = QApplication::font();
    auto larger = font;
    larger.setPointSizeF(2 * font.pointSizeF());
    QApplication::setFont(larger);
    settle();
    EXPECT_GT(cards().height(), before);
    QApplication::setFont(font);
    settle();
    EXPECT_EQ(cards().height(), before);
}

TEST_F(StatusItem, ThePanelFollowsItsContent) {
    item->togglePanel();
    settle();
    const auto before = item->panel()->size();
    content->setFixedSize(320, 440);
    settle();
    EXPECT_EQ(item->panel()->size(), before + QSize(0, 40));
}

TEST(PanelPlace, HangsUnderAnIconAtTheTopAndStandsOnOneAtTheBottom) {
    const QRect visible(0, 24, 1280, 752);
    const QSize size(322, 400);
    EXPECT_EQ(PanelPopover::placeOf(visible, QRect(600, 0, 24, 24), size),
              QRect(QPoint(612 - 161, 26), size));
    EXPECT_EQ(PanelPopover::placeOf(visible, QRect(600, 776, 24, 24), size),
              QRect(QPoint(612 - 161, 776 - 2 - 400), size));
}

TEST(PanelPlace, StaysInsideOfWhatBarsLeave) {
    const QRect visible(0, 24, 1280, 752);
    EXPECT_EQ(PanelPopover::placeOf(visible, QRect(1256, 0, 24, 24), {322, 400}).right(),
              1280 - 4 - 1);
    EXPECT_EQ(PanelPopover::placeOf(visible, QRect(0, 0, 24, 24), {322, 400}).left(), 4);
    const auto tall = PanelPopover::placeOf(visible, QRect(600, 0, 24, 24), {322, 2000});
    EXPECT_TRUE(visible.contains(tall)) << "what doesn't fit is scrolled";
    EXPECT_GT(tall.height(), 700);
    const QRect narrow(0, 0, 300, 480);
    EXPECT_TRUE(narrow.contains(PanelPopover::placeOf(narrow, std::nullopt, {322, 400})));
}

TEST(PanelPlace, IsTheTopRightWhereTheIconIsNotKnown) {
    const auto place = PanelPopover::placeOf({0, 0, 1280, 800}, std::nullopt, {322, 400});
    EXPECT_EQ(place, QRect(1280 - 4 - 322, 2, 322, 400));
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
};

TEST_F(StatusItemAtAnUnknownPlace, ShowsThePanelWhereItWasClicked) {
    clickAt(screen.bottomLeft() + QPoint(10, -10));
    ASSERT_TRUE(isPanelOpen());
    EXPECT_LT(item->panel()->geometry().left(), screen.left() + 20);
    EXPECT_GT(item->panel()->geometry().bottom(), screen.bottom() - 30);
    // Cards come where they always do.
    receive(recordedBy("Zoom"));
    EXPECT_LT(cards().geometry().top(), screen.top() + 20);
    EXPECT_GT(cards().geometry().right(), screen.right() - 20);
}

TEST_F(StatusItemAtAnUnknownPlace, DoesNotTakeAMouseInTheMiddleOfTheScreenForAClick) {
    clickAt(screen.center());
    ASSERT_TRUE(isPanelOpen());
    EXPECT_LT(item->panel()->geometry().top(), screen.top() + 20);
    EXPECT_GT(item->panel()->geometry().right(), screen.right() - 20);
}

/// A desktop that lets nothing stand on what it offers.
struct RefusingOverlays final : Overlays {
    struct Surface final : OverlaySurface {
        void present(const QRect&, const QRegion&, bool) override {
            QTimer::singleShot(0, [this] { onLost(); });
        }
        void takeAway() override {}
        void dragTo(const QPoint&) override {}
        void takeKeyboard() override {}
        void giveKeyboardBack() override {}
        void noteKeyboardGone() override {}
    };
    std::unique_ptr<OverlaySurface> surfaceOf(QWidget&) override {
        return std::make_unique<Surface>();
    }
    std::vector<ScreenArea> areas() const override { return placedOverlays().areas(); }
    bool blends() const override { return true; }
    bool placesWindows() const override { return false; }
    std::unique_ptr<QObject> catchClicks(std::function<void()>) override { return nullptr; }
};

TEST_F(StatusItem, ShowsTheWindowWhereThePanelCannotStand) {
    RefusingOverlays overlays;
    item = std::make_unique<StatusItemController>(*model, AppPicture(), actions(), &overlays);
    item->dock();
    item->togglePanel();
    settle();
    EXPECT_THAT(done, ElementsAre("main"));
    EXPECT_FALSE(isPanelOpen());
    item.reset();
}

TEST_F(StatusItem, ShowsTheWindowWhereNothingOfOursStands) {
    item = std::make_unique<StatusItemController>(*model, AppPicture(), actions(), nullptr);
    item->dock();
    item->togglePanel();
    EXPECT_THAT(done, ElementsAre("main"));
    EXPECT_EQ(item->panel(), nullptr);
}

TEST_F(StatusItem, HasAMenuInWhichEverythingWorks) {
    EXPECT_THAT(menu(), ElementsAre("Show Velmoran", "-", "Stop camera and microphone", "-",
                                    "History", "Settings", "-", "Quit Velmoran"));
    EXPECT_TRUE(entry("Stop camera and microphone")->isEnabled());
    for (const char* title :
         {"Show Velmoran", "Stop camera and microphone", "History", "Settings", "Quit Velmoran"}) {
        entry(title)->trigger();
    }
    EXPECT_THAT(done, ElementsAre("main", "stop", "history", "settings", "quit"));
}

TEST_F(StatusItem, OffersToUnmuteWhileAMuteIsInForce) {
    model->settings.microphoneMuted.set(true);
    EXPECT_THAT(menu(),
                ElementsAre("Show Velmoran", "-", "Stop camera and microphone", "Unmute microphone",
                            "-", "History", "Settings", "-", "Quit Velmoran"));
    entry("Unmute microphone")->trigger();
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_THAT(menu(), ElementsAre("Show Velmoran", "-", "Stop camera and microphone", "-",
                                    "History", "Settings", "-", "Quit Velmoran"));
}

TEST_F(StatusItem, OffersTheNewestNoticeWhileThereIsOne) {
    EXPECT_FALSE(entry("Go to the newest notice")->isVisible());
    receive(recordedBy("Zoom"));
    EXPECT_TRUE(entry("Go to the newest notice")->isVisible());
    model->notices.dismiss(model->notices.items().front().id);
    EXPECT_FALSE(entry("Go to the newest notice")->isVisible());
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
    item = std::make_unique<StatusItemController>(*model, AppPicture(),
                                                  StatusItemController::Actions{});
    ASSERT_EQ(item->item(), nullptr);
    receive(recordedBy("Zoom"));
    EXPECT_TRUE(cards().isVisible());
    item->dock();
    EXPECT_EQ(toolTip(), "Velmoran: camera or microphone in use\nZoom is using the microphone");
}

TEST_F(StatusItem, ModelChangesAfterItsEndTellNobody) {
    item.reset();
    receive(recordedBy("Zoom"));
    EXPECT_THAT(model->notices.items(), SizeIs(1));
}

} // namespace
} // namespace velmoran
