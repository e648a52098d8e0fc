#include "app/screens/WindowManager.h"
#include "app/screens/WindowPlacing.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

/// Content of a size that can change.
class Sheet final : public QWidget {
public:
    explicit Sheet(QSize size) : size_(size) {}
    QSize sizeHint() const override { return size_; }
    QSize minimumSizeHint() const override { return size_; }
    void become(QSize size) {
        size_ = size;
        updateGeometry();
    }

private:
    QSize size_;
};

struct WindowManagerTest : ::testing::Test {
    WindowManager windows;
    QRect visible = QGuiApplication::primaryScreen()->availableGeometry();

    Sheet* show(const char* id, QSize size = {300, 200}) {
        auto content = std::make_unique<Sheet>(size);
        auto* raw = content.get();
        windows.show(id, QString::fromLatin1(id), false, std::nullopt, std::move(content));
        settle();
        return raw;
    }
    Sheet* showHistory() {
        auto content = std::make_unique<Sheet>(QSize(200, 100));
        auto* raw = content.get();
        windows.show("history", QStringLiteral("History"), true, QSize(600, 400),
                     std::move(content));
        settle();
        return raw;
    }
    /// Until all that was put off has been done.
    static void settle() {
        for (int i = 0; i < 4; ++i) {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }
};

TEST_F(WindowManagerTest, ANewWindowIsAsLargeAsItsContentAndALittleAboveTheMiddle) {
    show("main");
    const auto* window = windows.window("main");
    ASSERT_TRUE(window);
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->isActiveWindow());
    EXPECT_EQ(window->windowTitle(), "main");
    EXPECT_EQ(window->size(), QSize(300, 200));
    EXPECT_EQ(window->pos(), centred(visible, window->frame().size()));
    EXPECT_EQ(window->minimumSize(), window->maximumSize()) << "it isn't resizable";
}

TEST_F(WindowManagerTest, ASecondShowOfHistoryKeepsItsSizeAndPlace) {
    const QPointer<Sheet> first = showHistory();
    auto* window = windows.window("history");
    EXPECT_EQ(window->size(), QSize(600, 400));
    window->resize(640, 420);
    window->move(30, 40);
    settle();
    const auto* second = showHistory();
    EXPECT_EQ(windows.window("history"), window);
    EXPECT_EQ(window->content(), second);
    EXPECT_FALSE(first);
    EXPECT_EQ(window->size(), QSize(640, 420));
    EXPECT_EQ(window->pos(), QPoint(30, 40));
}

TEST_F(WindowManagerTest, SoItIsAfterItWasClosed) {
    showHistory();
    auto* window = windows.window("history");
    window->resize(640, 420);
    window->move(30, 40);
    settle();
    windows.close("history");
    settle();
    EXPECT_FALSE(window->isVisible());
    showHistory();
    EXPECT_EQ(windows.window("history"), window);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->size(), QSize(640, 420));
    EXPECT_EQ(window->pos(), QPoint(30, 40));
}

TEST_F(WindowManagerTest, ShrinkingStopsAtTheSmallestSize) {
    showHistory();
    auto* window = windows.window("history");
    window->resize(10, 10);
    EXPECT_EQ(window->size(), QSize(600, 400));
    EXPECT_EQ(window->minimumSize(), QSize(600, 400));
}

TEST_F(WindowManagerTest, RaisesAWindowThatIsSmallerThanItsSmallestSizeNow) {
    windows.show("history", {}, true, QSize(300, 300), std::make_unique<Sheet>(QSize(1, 1)));
    settle();
    showHistory();
    EXPECT_EQ(windows.window("history")->size(), QSize(600, 400));
}

TEST_F(WindowManagerTest, ADifferentContentGetsItsOwnSizeUnderTheSameCorner) {
    show("details", {300, 200});
    auto* window = windows.window("details");
    window->move(50, 60);
    settle();
    windows.show("details", QStringLiteral("Zoom"), false, std::nullopt,
                 std::make_unique<Sheet>(QSize(320, 260)));
    EXPECT_EQ(window->windowTitle(), "Zoom");
    EXPECT_EQ(window->size(), QSize(320, 260));
    EXPECT_EQ(window->pos(), QPoint(50, 60));
}

TEST_F(WindowManagerTest, AWindowThatWouldReachBelowTheScreenMovesUp) {
    show("details", {300, 200});
    auto* window = windows.window("details");
    window->move(50, visible.bottom() - 250);
    settle();
    show("details", {300, 400});
    EXPECT_LE(window->frame().bottom(), visible.bottom());
    EXPECT_EQ(window->pos().x(), 50);
}

TEST_F(WindowManagerTest, AWindowFollowsItsContentWhileItIsOpen) {
    auto* content = show("details", {300, 200});
    auto* window = windows.window("details");
    window->move(50, 60);
    content->become({300, 320});
    settle();
    EXPECT_EQ(window->size(), QSize(300, 320));
    EXPECT_EQ(window->pos(), QPoint(50, 60));
    content->become({300, 150});
    settle();
    EXPECT_EQ(window->size(), QSize(300, 150));
}

TEST_F(WindowManagerTest, ContentThatWrapsItsTextIsAsHighAsItsTextNeeds) {
    auto content = std::make_unique<QWidget>();
    auto* column = new QVBoxLayout(content.get());
    auto* label = new QLabel(QStringLiteral("word ").repeated(100), content.get());
    label->setWordWrap(true);
    column->addWidget(label);
    content->setFixedWidth(240);
    auto* raw = content.get();
    windows.show("details", {}, false, std::nullopt, std::move(content));
    settle();
    EXPECT_EQ(windows.window("details")->width(), 240);
    EXPECT_GE(label->height(), label->heightForWidth(label->width()));
    EXPECT_EQ(raw->size(), windows.window("details")->size());
}

TEST_F(WindowManagerTest, AScreenThatIsTooSmallMakesTheContentScroll) {
    auto* content = show("settings", visible.size() + QSize(200, 200));
    auto* window = windows.window("settings");
    EXPECT_LE(window->width(), visible.width());
    EXPECT_LE(window->height(), visible.height());
    EXPECT_EQ(content->size(), visible.size() + QSize(200, 200)) << "it isn't squeezed";
    EXPECT_EQ(window->pos(), visible.topLeft());
    windows.show("history", {}, true, QSize(visible.width() + 100, 300),
                 std::make_unique<Sheet>(QSize(1, 1)));
    settle();
    EXPECT_LE(windows.window("history")->width(), visible.width());
}

TEST_F(WindowManagerTest, ComesBackFromWhereThereIsNoScreenAnyMore) {
    show("main");
    auto* window = windows.window("main");
    window->move(9000, 9000);
    windows.layOut();
    EXPECT_TRUE(visible.contains(window->frame()));
    window->move(-9000, 100);
    windows.close("main");
    settle();
    show("main");
    EXPECT_TRUE(visible.contains(window->frame()));
}

TEST_F(WindowManagerTest, AClosedWindowHoldsNothing) {
    int closed = 0;
    windows.onClosed = [&] {
        ++closed;
    };
    const QPointer<Sheet> content = show("main");
    EXPECT_TRUE(windows.isAnyOpen());
    auto* window = windows.window("main");
    windows.close("main");
    settle();
    EXPECT_EQ(closed, 1);
    EXPECT_FALSE(windows.isAnyOpen());
    EXPECT_FALSE(content);
    EXPECT_EQ(window->content(), nullptr);
    EXPECT_EQ(window->windowHandle(), nullptr) << "the desktop keeps nothing for it either";
    EXPECT_FALSE(windows.bringToFront("main"));
    EXPECT_FALSE(window->isVisible());
}

TEST_F(WindowManagerTest, CanBeShownAgainWhileItCloses) {
    show("main");
    windows.close("main");
    auto content = std::make_unique<Sheet>(QSize(310, 210));
    const QPointer<Sheet> second = content.get();
    windows.show("main", {}, false, std::nullopt, std::move(content));
    settle();
    EXPECT_TRUE(windows.window("main")->isVisible());
    EXPECT_TRUE(second);
}

TEST_F(WindowManagerTest, ClosingWhatWasNeverThereDoesNothing) {
    windows.close("nobody");
    EXPECT_EQ(windows.window("nobody"), nullptr);
    EXPECT_FALSE(windows.bringToFront("nobody"));
}

TEST_F(WindowManagerTest, ContentCanCloseItsOwnWindow) {
    auto* content = show("onboarding");
    QMetaObject::invokeMethod(content, [this] { windows.close("onboarding"); });
    settle();
    EXPECT_FALSE(windows.window("onboarding")->isVisible());
}

TEST_F(WindowManagerTest, ATitleIsOneHarmlessLine) {
    windows.show("details", QStringLiteral("a\nb\u202Ec") + QString(10000, u'x'), false,
                 std::nullopt, std::make_unique<Sheet>(QSize(100, 100)));
    const auto title = windows.window("details")->windowTitle();
    EXPECT_TRUE(title.startsWith(QStringLiteral("a bc"))) << title.toStdString();
    EXPECT_LE(title.size(), 120);
}

TEST_F(WindowManagerTest, EndsWithAllItsWindows) {
    const QPointer<Sheet> content = show("main");
    windows.clear();
    EXPECT_FALSE(content);
    EXPECT_FALSE(windows.isAnyOpen());
}

} // namespace
} // namespace velmoran
