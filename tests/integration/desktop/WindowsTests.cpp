// The program's windows under a window manager, with a mouse and keys.
#include "app/screens/WindowManager.h"
#include "integration/desktop/Desktop.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QScreen>
#include <QVBoxLayout>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

struct WindowsOnADesktop : DesktopFixture {
    WindowManager windows;

    void SetUp() override { hand({"mousemove", "20", "780"}); }

    ContentWindow& history() {
        windows.show("history", QStringLiteral("History"), true, QSize(720, 460), makeContent());
        return opened("history");
    }
    ContentWindow& details(QSize size) {
        auto content = makeContent();
        content->setFixedSize(size);
        windows.show("details", QStringLiteral("Zoom"), false, std::nullopt, std::move(content));
        return opened("details");
    }
    static std::unique_ptr<QWidget> makeContent() {
        auto content = std::make_unique<QWidget>();
        auto* column = new QVBoxLayout(content.get());
        column->addWidget(new QLineEdit(content.get()));
        return content;
    }
    ContentWindow& opened(const char* id) {
        auto& window = *windows.window(id);
        EXPECT_TRUE(eventually([&] {
            return window.isActiveWindow() && isViewable(idOf(window)) &&
                   window.frame() != window.geometry() &&
                   session.run({"xdotool", "getwindowfocus"}).output ==
                       std::to_string(idOf(window)) + "\n";
        })) << session.logs();
        drainEvents();
        return window;
    }
    static std::uint32_t idOf(const QWidget& window) {
        return static_cast<std::uint32_t>(window.internalWinId());
    }
    void closeByTheKey(ContentWindow& window) {
        hand({"key", "ctrl+w"});
        EXPECT_TRUE(eventually([&] { return !window.isVisible() && !window.windowHandle(); }));
    }
};

TEST_F(WindowsOnADesktop, TakeTheKeyboardFromAnotherProgram) {
    startEditor();
    history();
    auto* edit = windows.window("history")->findChild<QLineEdit*>();
    edit->setFocus();
    hand({"type", "abc"});
    EXPECT_TRUE(eventually([&] { return edit->text().endsWith("abc"); }));
}

TEST_F(WindowsOnADesktop, StandALittleAboveTheMiddleWithTheirFrames) {
    auto& window = history();
    const auto frame = window.frame();
    EXPECT_EQ(window.size(), QSize(720, 460));
    EXPECT_NEAR(frame.center().x(), 640, 2);
    // A quarter of what is left of 800, with and without a title bar.
    EXPECT_NEAR(frame.top(), (800 - frame.height()) / 4, 12);
}

TEST_F(WindowsOnADesktop, StayWherePeoplePutThem) {
    auto& window = history();
    hand({"windowmove", std::to_string(idOf(window)), "200", "150"});
    hand({"windowsize", std::to_string(idOf(window)), "800", "500"});
    ASSERT_TRUE(eventually([&] { return window.size() == QSize(800, 500); }));
    drainEvents();
    const auto place = window.frame();
    for (int time = 0; time < 3; ++time) {
        closeByTheKey(window);
        history();
        EXPECT_TRUE(eventually([&] { return window.frame() == place; }))
            << "time " << time << ": " << window.frame().x() << ", " << window.frame().y() << ", "
            << window.width() << " x " << window.height() << " instead of " << place.x() << ", "
            << place.y();
    }
    history();
    EXPECT_TRUE(eventually([&] { return window.frame() == place; })) << "while it is open";
}

TEST_F(WindowsOnADesktop, ShrinkingByDraggingStopsAtTheSmallestSize) {
    auto& window = history();
    const auto frame = window.frame();
    moveTo(frame.bottomRight());
    hand({"mousedown", "1"});
    for (int step = 1; step <= 5; ++step) {
        moveTo(frame.bottomRight() + QPoint(40, 30) * step);
    }
    EXPECT_TRUE(eventually([&] { return window.width() > 800; })) << "it follows the mouse";
    for (int step = 1; step <= 10; ++step) {
        moveTo(frame.bottomRight() + QPoint(-60, -40) * step);
    }
    hand({"mouseup", "1"});
    EXPECT_TRUE(eventually([&] { return window.size() == QSize(720, 460); }))
        << window.width() << " x " << window.height();
}

TEST_F(WindowsOnADesktop, WhoseSizeIsTheirContentsCannotBeDragged) {
    auto& window = details({300, 200});
    const auto frame = window.frame();
    moveTo(frame.bottomRight());
    hand({"mousedown", "1"});
    moveTo(frame.bottomRight() + QPoint(90, 90));
    hand({"mouseup", "1"});
    drainEvents();
    EXPECT_EQ(window.size(), QSize(300, 200));
}

TEST_F(WindowsOnADesktop, MoveUpWhenTheyBecomeHigher) {
    auto& window = details({300, 200});
    hand({"windowmove", std::to_string(idOf(window)), "300", "550"});
    ASSERT_TRUE(eventually([&] { return window.y() > 500; }));
    window.content()->setFixedSize(300, 400);
    EXPECT_TRUE(eventually([&] { return window.height() == 400 && window.frame().bottom() < 800; }))
        << window.frame().bottom();
    EXPECT_NEAR(window.frame().x(), 300, 8);
}

TEST_F(WindowsOnADesktop, ComeBackFromAnIcon) {
    auto& window = history();
    window.showMinimized();
    ASSERT_TRUE(eventually([&] { return !isViewable(idOf(window)); }));
    history();
    EXPECT_FALSE(window.isMinimized());
}

/// The desktop's own screen gets smaller than a window, and larger again.
TEST_F(WindowsOnADesktop, FitOnAScreenNarrowerThanTheyWantToBe) {
    const auto screen = [&](std::vector<std::string> does) {
        does.insert(does.begin(), "xrandr");
        const auto finished = session.run(does);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    };
    auto& window = history();
    screen({"--newmode", "narrow", "60", "640", "641", "642", "643", "480", "481", "482", "483"});
    screen({"--addmode", "screen", "narrow"});
    screen({"--output", "screen", "--mode", "narrow"});
    ASSERT_TRUE(eventually(
        [] { return QGuiApplication::primaryScreen()->geometry().size() == QSize(640, 480); }));
    windows.layOut();
    EXPECT_TRUE(eventually([&] { return QRect(0, 0, 640, 480).contains(window.frame()); }))
        << window.frame().width() << " x " << window.frame().height();
    screen({"--output", "screen", "--mode", "1280x800"});
    ASSERT_TRUE(eventually(
        [] { return QGuiApplication::primaryScreen()->geometry().size() == QSize(1280, 800); }));
    // The window manager learns of it in its own time, and holds on to what it knows until then.
    EXPECT_TRUE(eventually([&] {
        windows.layOut();
        return window.size() == QSize(720, 460);
    }));
    screen({"--delmode", "screen", "narrow"});
    screen({"--rmmode", "narrow"});
}

} // namespace
} // namespace velmoran
