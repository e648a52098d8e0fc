// Cards, button, panel and question where a compositor places them.
#include "app/model/ModelFixture.h"
#include "app/qtbase/QtEventLoop.h"
#include "app/shell/AppDelegate.h"
#include "app/shell/cards/NoticePanelController.h"
#include "integration/layers/Layers.h"
#include "support/AccessibleButton.h"
#include "support/Sway.h"

#include <QApplication>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QWindow>

namespace velmoran {
namespace {

/// Where a person would press it. Qt itself takes each window of Wayland's for one at the corner.
QPoint inWindow(const QWidget& widget, const QRect& window) {
    return window.topLeft() + widget.mapTo(widget.window(), widget.rect().center());
}

/// Counts the frames that the compositor asks a window for, which it does after it has shown one.
struct Frames final : QObject {
    int count = 0;
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::UpdateRequest ? 1 : 0;
        return false;
    }
};

struct CardsOnLayers : ::testing::Test, OnLayers {
    QtEventLoop loop;
    NoticeCenter notices{loop};
    std::optional<QRect> anchor;
    NoticePanelController controller{notices, [this] { return anchor; }, AppPicture(), overlays};
    int presses = 0;

    const NoticePanel& panel() { return controller.panel(); }

    void show(const std::string& title = "Zoom turned on the camera") {
        NoticeItem card;
        card.id = Uuid::random();
        card.title = title;
        card.timeText = "Just now";
        card.buttons.push_back({.title = "Stop", .action = [this] {
                                    ++presses;
                                }});
        notices.show(card);
        ASSERT_TRUE(eventually([&] { return panel().isVisible(); }));
        // For the compositor too.
        Frames frames;
        panel().windowHandle()->installEventFilter(&frames);
        panel().windowHandle()->requestUpdate();
        ASSERT_TRUE(eventually([&] { return frames.count > 0; }));
    }
    QPoint placeOf(const std::string& button) {
        return inWindow(*support::buttonNamed(panel(), button), panel().frame());
    }
    void closeByTheMouse() {
        clickAt(placeOf("Close"));
        EXPECT_TRUE(eventually([&] { return notices.items().empty() && !panel().isVisible(); }));
    }
};

TEST_F(CardsOnLayers, StandAtTheTopRightWithoutTheKeyboard) {
    startEditor();
    expectTyped("a", "a");
    show();
    EXPECT_EQ(panel().frame().topRight() + QPoint(1, 0), QPoint(1280 - 4, 2));
    expectTyped("ab", "b");
    clickAt(placeOf("Stop"));
    EXPECT_TRUE(eventually([&] { return presses == 1; }));
    expectTyped("abc", "c");
    closeByTheMouse();
    expectTyped("abcd", "d");
}

TEST_F(CardsOnLayers, StandAboveAWindowThatFillsTheScreen) {
    startEditor(true);
    // The second time too.
    for (int time = 0; time < 2; ++time) {
        show();
        closeByTheMouse();
    }
    expectTyped("a", "a");
}

TEST_F(CardsOnLayers, LeaveTheClickBesideThemToWhatIsBelow) {
    startEditor(true);
    show();
    clickAt(panel().frame().topLeft() + QPoint(3, 3));
    EXPECT_TRUE(eventually([&] { return editorHas() == "!"; })) << editorHas();
    clickAt(panel().frame().center() - QPoint(0, 200 - 400));
    EXPECT_TRUE(eventually([&] { return editorHas() == "!!"; })) << editorHas();
}

TEST_F(CardsOnLayers, StandBelowABarAndAreLaidOutAnewWhenItGoes) {
    overlays.onAreasChanged = [this] {
        controller.redraw();
    };
    show();
    session.start("bar", {"swaybar", "-b", "bar-0"});
    ASSERT_TRUE(eventually([&] { return overlays.areas().front().visible.height() < 800; }))
        << session.logs();
    const int bar = 800 - overlays.areas().front().visible.height();
    // What is known of a place is counted from below the bar.
    const auto below = [&](QPoint place) {
        return place + QPoint(0, bar);
    };
    clickAt(below(placeOf("Stop")));
    EXPECT_TRUE(eventually([&] { return presses == 1; }));
    session.stop("bar");
    ASSERT_TRUE(eventually([&] { return overlays.areas().front().visible.height() == 800; }));
    clickAt(placeOf("Stop"));
    EXPECT_TRUE(eventually([&] { return presses == 2; }));
    overlays.onAreasChanged = [] {
    };
}

TEST_F(CardsOnLayers, StayOnAScreenWhoseScaleOrSizeChanges) {
    overlays.onAreasChanged = [this] {
        controller.redraw();
    };
    show();
    for (const auto& [scale, width] : std::vector<std::pair<std::string, int>>{
             {"2", 640}, {"1.25", 1024}, {"1.5", 853}, {"1", 1280}}) {
        sway({"output", "HEADLESS-1", "scale", scale});
        ASSERT_TRUE(eventually([&] {
            return std::abs(panel().frame().right() + 1 - (width - 4)) <= 1;
        })) << scale
            << ": " << panel().frame().right();
        const int before = presses;
        const double factor = std::stod(scale);
        // The hand is told in the desktop's own points.
        hand({"desktop " + std::to_string(width) + ' ' +
              std::to_string(static_cast<int>(800 / factor))});
        clickAt(placeOf("Stop"));
        EXPECT_TRUE(eventually([&] { return presses == before + 1; })) << scale;
    }
    sway({"output", "HEADLESS-1", "resolution", "1024x600"});
    EXPECT_TRUE(eventually([&] { return panel().frame().right() + 1 == 1024 - 4; }));
    sway({"output", "HEADLESS-1", "resolution", "1280x800"});
    EXPECT_TRUE(eventually([&] { return panel().frame().right() + 1 == 1280 - 4; }));
    overlays.onAreasChanged = [] {
    };
}

TEST_F(CardsOnLayers, GoOnOnAnotherScreenWhenTheirsGoes) {
    const auto before = QGuiApplication::screens();
    sway({"create_output"});
    ASSERT_TRUE(eventually([&] { return overlays.areas().size() == 2; })) << session.logs();
    const auto now = QGuiApplication::screens();
    const auto* added = *std::find_if(now.begin(), now.end(),
                                      [&](QScreen* screen) { return !before.contains(screen); });
    const auto name = added->name().toStdString();
    anchor = QRect(added->geometry().topRight() - QPoint(30, 0), QSize(20, 20));
    int lost = 0;
    controller.onLost = [&] {
        ++lost;
    };
    overlays.onAreasChanged = [this] {
        controller.redraw();
    };
    show();
    EXPECT_TRUE(added->geometry().contains(panel().frame())) << "where its anchor is";
    support::unplugFromSway(session, name);
    EXPECT_TRUE(eventually([&] {
        return panel().isVisible() && overlays.areas().size() == 1 &&
               overlays.areas().front().visible.contains(panel().frame());
    })) << session.logs();
    // Not by our own belief alone.
    clickAt(placeOf("Stop"));
    EXPECT_TRUE(eventually([&] { return presses == 1; }));
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(notices.items().size(), 1U);
    overlays.onAreasChanged = [] {
    };
}

TEST_F(CardsOnLayers, MayBeClosedWithAllWindowsWhileTheyStand) {
    show();
    QApplication::closeAllWindows();
    EXPECT_FALSE(panel().isVisible());
    // The compositor has taken no offence.
    startEditor();
    expectTyped("a", "a");
    EXPECT_EQ(overlays.areas().size(), 1U);
}

TEST_F(CardsOnLayers, TakeTheKeyboardWhereSomebodyWishesItAndGiveItBack) {
    startEditor();
    expectTyped("a", "a");
    show();
    controller.takeKeyboard();
    ASSERT_TRUE(eventually([&] { return panel().isActiveWindow(); }));
    hand({"key Return"});
    EXPECT_TRUE(eventually([&] { return presses == 1; }));
    hand({"key Escape"});
    EXPECT_TRUE(eventually([&] { return !panel().isActiveWindow(); }));
    expectTyped("ab", "b");
    EXPECT_EQ(notices.items().size(), 1U) << "it stays";
}

struct DelegateOnLayers : testing::ModelFixture, OnLayers {
    QtEventLoop loop;
    std::unique_ptr<AppDelegate> delegate;

    void launchThere() {
        // Where nothing comes under it, as it may by an earlier case.
        moveTo(QPoint(640, 700));
        settings.setBoolean("floatingStopButton", true);
        settings.setBoolean("onboardingDone", true);
        delegate = std::make_unique<AppDelegate>(
            ModelSurroundings{machine, loop, loop, settings,
                              [this] {
                                  return store;
                              }},
            AppPicture(), AppDelegate::Outside{},
            DesktopAbilities{.notices = NoticeForm::layered, .handsOutKeys = true});
        delegate->didFinishLaunching({.isUnasked = true});
        delegate->model().receive({});
    }
    void turnOn() {
        delegate->model().receive(microphone({testing::appRef("Zoom")}));
        ASSERT_TRUE(eventually([&] { return button().panel() && button().panel()->isVisible(); }));
        Frames frames;
        button().panel()->windowHandle()->installEventFilter(&frames);
        button().panel()->windowHandle()->requestUpdate();
        ASSERT_TRUE(eventually([&] { return frames.count > 0; }));
    }
    FloatingStopButton& button() { return *delegate->floatingStop(); }
    bool hasStopped() {
        const auto& items = delegate->model().notices.items();
        return !items.empty() && items.back().title == "Microphone muted. Zoom was closed.";
    }
};

TEST_F(DelegateOnLayers, TheButtonStopsByAClickAboveAFullScreenWindow) {
    startEditor(true);
    launchThere();
    turnOn();
    clickAt(button().frame().center());
    EXPECT_TRUE(eventually([&] { return hasStopped(); }));
    EXPECT_EQ(editorHas(), "");
    expectTyped("a", "a");
}

TEST_F(DelegateOnLayers, TheButtonIsDraggedAndStaysThere) {
    startEditor();
    launchThere();
    turnOn();
    ASSERT_TRUE(eventually([&] { return !button().expanded(); }));
    const auto from = button().frame().center();
    // It grows under the hand, which comes on it before it presses.
    int trembling = 0;
    ASSERT_TRUE(eventually([&] {
        moveTo(from + QPoint(0, 5 + ++trembling % 2));
        return button().expanded();
    }));
    moveTo(from);
    hand({"press"});
    for (int step = 1; step <= 8; ++step) {
        moveTo(from + QPoint(-60, 40) * step);
    }
    ASSERT_TRUE(eventually([&] { return button().frame().contains(from + QPoint(-480, 320)); }));
    hand({"release"});
    const auto& kept = delegate->model().settings.floatingStopPlace;
    ASSERT_TRUE(eventually([&] { return (*kept).has_value(); }));
    const auto to = from + QPoint(-480, 320);
    EXPECT_TRUE(eventually([&] { return button().frame().contains(to); }));
    EXPECT_NEAR((**kept).y, to.y(), 2);
    EXPECT_FALSE(hasStopped());
    // The mouse is still known there, and where it was nothing is.
    ASSERT_TRUE(eventually([&] { return button().panel()->view().isVisible(); }));
    clickAt(to);
    EXPECT_TRUE(eventually([&] { return hasStopped(); }));
    expectTyped("a", "a");
}

TEST_F(DelegateOnLayers, ThePanelGoesByEscapeAndByAClickElsewhere) {
    startEditor();
    launchThere();
    auto& item = *delegate->statusItem();
    const auto isOpen = [&] {
        return item.panel() && item.panel()->isVisible() && item.panel()->isActiveWindow();
    };
    const auto isGone = [&] {
        return !item.panel()->isVisible();
    };
    item.togglePanel();
    ASSERT_TRUE(eventually(isOpen));
    EXPECT_EQ(item.panel()->geometry().right() + 1, 1280 - 4);
    EXPECT_EQ(item.panel()->geometry().top(), 2);
    hand({"key Escape"});
    EXPECT_TRUE(eventually(isGone));
    expectTyped("a", "a");
    item.togglePanel();
    ASSERT_TRUE(eventually(isOpen));
    ASSERT_TRUE(eventually([&] { return session.child("hand")->running(); }));
    clickAt({100, 700});
    EXPECT_TRUE(eventually(isGone));
    expectTyped("ab", "b");
    item.togglePanel();
    ASSERT_TRUE(eventually(isOpen));
    item.togglePanel();
    EXPECT_TRUE(eventually(isGone));
}

TEST_F(DelegateOnLayers, APressInThePanelBringsItsWindow) {
    launchThere();
    auto& item = *delegate->statusItem();
    item.togglePanel();
    ASSERT_TRUE(eventually([&] { return item.panel() && item.panel()->isActiveWindow(); }));
    clickAt(inWindow(*support::buttonNamed(*item.panel(), "History"), item.panel()->geometry()));
    EXPECT_TRUE(eventually([&] {
        const auto* window = delegate->screens().windows().window("history");
        return window && window->isActiveWindow() && !item.panel()->isVisible();
    }));
}

TEST_F(DelegateOnLayers, TheQuestionComesAsAWindowWithTheKeyboard) {
    startEditor();
    launchThere();
    machine.script.browsers = {"org.example.Surf"};
    delegate->model().receive(camera({testing::appRef("Surf")}));
    delegate->model().stopEverything();
    ASSERT_TRUE(delegate->browserDialog().window());
    ASSERT_TRUE(eventually([&] { return delegate->browserDialog().window()->isActiveWindow(); }));
    hand({"key Escape"});
    EXPECT_TRUE(eventually([&] { return !delegate->browserDialog().window(); }));
}

} // namespace
} // namespace velmoran
