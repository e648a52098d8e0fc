// The floating button under a window manager and a mouse.
#include "app/shell/AppDelegate.h"
#include "integration/desktop/Desktop.h"
#include "support/AccessibleButton.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

struct FloatingStopOnADesktop : testing::ModelFixture, OnADesktop {
    QtEventLoop loop;
    std::unique_ptr<AppDelegate> delegate;

    static void SetUpTestSuite() { desktopSession().need({"xdotool", "xev", "xrandr"}); }

    void SetUp() override {
        settings.setBoolean("floatingStopButton", true);
        // Cards stand at the top right; here nothing else is wanted in the way.
        settings.setNumbers("floatingStopPlace", {900, 500});
        hand({"mousemove", "20", "780"});
        delegate = std::make_unique<AppDelegate>(ModelSurroundings{machine, loop, loop, settings,
                                                                   [this] {
                                                                       return store;
                                                                   }},
                                                 AppPicture(), AppDelegate::Outside{});
        delegate->didFinishLaunching({.isUnasked = true});
        delegate->model().receive({});
    }

    void turnOn() {
        delegate->model().receive(microphone({testing::appRef("Zoom")}));
        ASSERT_TRUE(eventually([&] { return isOnTheScreen(); }));
    }
    FloatingStopButton& button() { return *delegate->floatingStop(); }
    std::uint32_t window() { return static_cast<std::uint32_t>(button().panel()->internalWinId()); }
    bool isOnTheScreen() { return button().panel() && isViewable(window()); }
    /// Where the server has it.
    QRect place() { return placeOf(window()); }
    bool stopped() {
        const auto& items = delegate->model().notices.items();
        return !items.empty() && items.back().title == "Microphone muted. Zoom was closed.";
    }
    bool neverStopped() {
        return !*delegate->model().isStopping && !*delegate->model().settings.microphoneMuted;
    }
};

TEST_F(FloatingStopOnADesktop, AClickStopsAndLeavesTheFocusWhereItIs) {
    startEditor("300x200+700+400");
    const auto before = focused();
    turnOn();
    EXPECT_EQ(focused(), before);
    moveTo(place().center());
    hand({"click", "1"});
    EXPECT_TRUE(eventually([&] { return stopped(); }));
    EXPECT_EQ(focused(), before);
}

TEST_F(FloatingStopOnADesktop, StandsAboveAFullScreenWindow) {
    const auto editor = startEditor("300x200+700+400");
    turnOn();
    makeFullScreen(editor);
    moveTo(place().center());
    hand({"click", "1"});
    EXPECT_TRUE(eventually([&] { return stopped(); }));
}

TEST_F(FloatingStopOnADesktop, IsDraggedAndStopsNothing) {
    turnOn();
    const auto from = place();
    moveTo(from.center());
    hand({"mousedown", "1"});
    for (int step = 1; step <= 10; ++step) {
        moveTo(from.center() + QPoint(-40, 12) * step);
    }
    EXPECT_TRUE(
        eventually([&] { return place().topLeft() == from.topLeft() + QPoint(-400, 120); }));
    EXPECT_EQ(*delegate->model().settings.floatingStopPlace, (Point{900, 500}));
    hand({"mouseup", "1"});
    EXPECT_TRUE(eventually([&] {
        return *delegate->model().settings.floatingStopPlace != Point{900, 500};
    }));
    // In the left half now, where the icon is at the other end.
    const auto kept = **delegate->model().settings.floatingStopPlace;
    EXPECT_EQ(kept, (Point{from.left() - 400 + 32.0, 500 + 120}));
    EXPECT_EQ(settings.numbers("floatingStopPlace"), (std::vector<double>{kept.x, kept.y}));
    EXPECT_EQ(place().left(), from.left() - 400);
    EXPECT_TRUE(neverStopped());
}

TEST_F(FloatingStopOnADesktop, GoesWhenTheDeviceGoesOff) {
    turnOn();
    delegate->model().receive({});
    EXPECT_FALSE(button().visible());
    EXPECT_FALSE(button().panel()->isVisible());
    EXPECT_TRUE(eventually([&] { return !isOnTheScreen(); }));
    turnOn();
    EXPECT_EQ(place().center().y(), 500 - 1);
}

TEST_F(FloatingStopOnADesktop, UnfoldsUnderTheMouse) {
    turnOn();
    ASSERT_TRUE(eventually([&] { return !button().expanded(); }));
    const auto small = place();
    EXPECT_EQ(small.size(), QSize(64, 64));
    moveTo(small.center());
    EXPECT_TRUE(eventually([&] { return place().width() > 100; }));
    EXPECT_EQ(place().right(), small.right());
    moveTo({20, 780});
    EXPECT_TRUE(eventually([&] { return place() == small; }));
}

TEST_F(FloatingStopOnADesktop, BesideItTheClickBelongsToWhatIsBelow) {
    startEditor("300x200+700+400");
    turnOn();
    const auto corner = place().topLeft() + QPoint(4, 4);
    moveTo(corner);
    hand({"click", "1"});
    EXPECT_TRUE(eventually([&] {
        return session.child("editor")->output().find("ButtonRelease") != std::string::npos;
    }));
    EXPECT_TRUE(neverStopped());
    EXPECT_FALSE(delegate->model().isStopping.get());
}

TEST_F(FloatingStopOnADesktop, CardsStandClearOfIt) {
    delegate->model().settings.floatingStopPlace.set(std::nullopt);
    turnOn();
    const auto& cards = delegate->statusItem()->noticePanel().panel();
    ASSERT_TRUE(cards.isVisible());
    ASSERT_FALSE(cards.findChildren<QWidget*>(QStringLiteral("notice")).isEmpty());
    for (const auto* card : cards.findChildren<QWidget*>(QStringLiteral("notice"))) {
        const QRect onScreen(card->mapToGlobal(QPoint(0, 0)), card->size());
        EXPECT_FALSE(onScreen.intersects(button().frame()));
    }
}

/// The question about browsers under a window manager and a keyboard.
struct QuestionOnADesktop : FloatingStopOnADesktop {
    void SetUp() override {
        FloatingStopOnADesktop::SetUp();
        machine.script.browsers = {"org.example.Surf"};
        delegate->model().receive(camera({testing::appRef("Surf")}));
    }
    QDialog* question() { return delegate->browserDialog().window(); }
    void ask() {
        delegate->model().stopEverything();
        ASSERT_TRUE(question());
        ASSERT_TRUE(eventually([&] { return question()->isActiveWindow(); })) << session.logs();
    }
};

TEST_F(QuestionOnADesktop, ComesToTheFrontOverTheWindowInUse) {
    startEditor("300x200+700+400");
    ask();
}

TEST_F(QuestionOnADesktop, ComesBackInFrontOfTheWindowInUseWhenAStopIsPressedAgain) {
    ask();
    startEditor("300x200+700+400");
    ASSERT_TRUE(eventually([&] { return !question()->isActiveWindow(); }));
    delegate->model().stopEverything();
    EXPECT_TRUE(eventually([&] { return question()->isActiveWindow(); })) << session.logs();
}

TEST_F(QuestionOnADesktop, ComesBackFromAnIcon) {
    ask();
    const auto id = static_cast<std::uint32_t>(question()->winId());
    ASSERT_TRUE(isViewable(id));
    question()->showMinimized();
    ASSERT_TRUE(eventually([&] { return !isViewable(id) && !question()->isActiveWindow(); }));
    delegate->model().raiseQuestion();
    EXPECT_TRUE(eventually([&] { return isViewable(id) && question()->isActiveWindow(); }))
        << session.logs();
}

TEST_F(QuestionOnADesktop, LeavesTheScreenWithItsAnswerAndNotWithTheUse) {
    ask();
    const auto id = std::to_string(question()->winId());
    const auto isOnScreen = [&] {
        return session.run({"xdotool", "getwindowname", id}).succeeded();
    };
    delegate->model().receive({});
    ASSERT_TRUE(question());
    EXPECT_TRUE(isOnScreen());
    hand({"key", "Escape"});
    EXPECT_TRUE(eventually([&] { return !question() && !isOnScreen(); }));
    EXPECT_TRUE(neverStopped());
}

TEST_F(QuestionOnADesktop, EnterCancels) {
    ask();
    hand({"key", "Return"});
    EXPECT_TRUE(eventually([&] { return question() == nullptr; }));
    EXPECT_TRUE(neverStopped());
}

TEST_F(QuestionOnADesktop, EscapeCancels) {
    ask();
    hand({"key", "Escape"});
    EXPECT_TRUE(eventually([&] { return question() == nullptr; }));
    EXPECT_TRUE(neverStopped());
}

TEST_F(QuestionOnADesktop, ShiftTabReachesKeepAndOnceMoreClose) {
    ask();
    hand({"key", "shift+Tab", "key", "Return"});
    EXPECT_TRUE(eventually([&] {
        const auto& items = delegate->model().notices.items();
        return !items.empty() &&
               items.back().title == "Microphone muted. No app was using the camera or microphone.";
    }));
    ask();
    hand({"key", "shift+Tab", "key", "shift+Tab", "key", "Return"});
    EXPECT_TRUE(eventually([&] {
        return delegate->model().notices.items().back().title ==
               "Microphone muted. Surf was closed.";
    }));
}

TEST_F(QuestionOnADesktop, CardsAnswerWhileItIsOpen) {
    ask();
    const auto& cards = delegate->statusItem()->noticePanel().panel();
    ASSERT_TRUE(cards.isVisible());
    moveTo(support::centerOf(*support::buttonNamed(cards, "Close")));
    hand({"click", "1"});
    EXPECT_TRUE(eventually([&] { return delegate->model().notices.items().empty(); }));
    EXPECT_TRUE(question());
}

TEST_F(FloatingStopOnADesktop, StaysOnAScreenThatBecomesSmallerAndClearOfTheCards) {
    const auto screen = [&](const std::vector<std::string>& does) {
        std::vector<std::string> command{"xrandr"};
        command.insert(command.end(), does.begin(), does.end());
        const auto finished = session.run(command);
        EXPECT_TRUE(finished.succeeded()) << finished.errors;
    };
    const auto cards = [&] {
        constexpr int padding = NoticeStackView::padding;
        return delegate->statusItem()->noticePanel().panel().geometry().adjusted(
            padding, padding, -padding, -padding);
    };
    delegate->model().settings.floatingStopPlace.set(Point{1240, 760});
    turnOn();
    const auto before = place();
    EXPECT_GT(before.right(), 1024);
    screen({"--newmode", "less", "60", "1024", "1025", "1026", "1027", "600", "601", "602", "603"});
    screen({"--addmode", "screen", "less"});
    screen({"--output", "screen", "--mode", "less"});
    EXPECT_TRUE(eventually([&] { return QRect(0, 0, 1024, 600).contains(place()); }))
        << place().x() << ", " << place().y();
    EXPECT_TRUE(eventually([&] { return QRect(0, 0, 1024, 600).contains(cards()); }));
    EXPECT_FALSE(cards().intersects(button().frame()));
    screen({"--output", "screen", "--mode", "1280x800"});
    // Its own place is not forgotten.
    EXPECT_TRUE(eventually([&] { return place() == before; }));
    screen({"--delmode", "screen", "less"});
    screen({"--rmmode", "less"});
}

} // namespace
} // namespace velmoran
