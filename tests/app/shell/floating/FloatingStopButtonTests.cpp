#include "app/look/CardColors.h"
#include "app/look/Symbols.h"
#include "app/model/ModelFixture.h"
#include "app/shell/floating/FloatingStopButton.h"

#include <QAccessible>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

struct FloatingStop : testing::ModelFixture {
    int presses = 0;
    std::unique_ptr<FloatingStopButton> button;

    void SetUp() override {
        settings.setBoolean("floatingStopButton", true);
        launchWatching();
        button = std::make_unique<FloatingStopButton>(*model, time, [this] { ++presses; });
    }

    static SystemSnapshot on(bool camera, bool microphone) {
        SystemSnapshot snapshot;
        snapshot.cameraOn = camera;
        snapshot.microphoneOn = microphone;
        return snapshot;
    }

    [[nodiscard]] bool isShown() const { return button->panel() && button->panel()->isVisible(); }
    const FloatingStopView::Content& content() const { return button->panel()->view().content(); }
    ClickOrDragView& mouse() const { return button->panel()->mouse(); }
    QRect frame() const { return button->panel()->geometry(); }
    QRect screen() const { return button->panel()->screen()->availableGeometry(); }

    void hover(bool inside) const {
        if (inside) {
            QEnterEvent event(QPointF(20, 20), QPointF(20, 20), QPointF(20, 20));
            QApplication::sendEvent(&mouse(), &event);
        } else {
            QEvent event(QEvent::Leave);
            QApplication::sendEvent(&mouse(), &event);
        }
    }

    void send(QEvent::Type type, QPoint global, Qt::MouseButton which = Qt::LeftButton) const {
        const QPointF place = mouse().mapFromGlobal(global);
        QMouseEvent event(type, place, global, type == QEvent::MouseMove ? Qt::NoButton : which,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : which,
                          Qt::NoModifier);
        QApplication::sendEvent(&mouse(), &event);
    }

    void drag(QPoint by) const {
        const QPoint from = frame().center();
        send(QEvent::MouseButtonPress, from);
        send(QEvent::MouseMove, from + by / 2);
        send(QEvent::MouseMove, from + by);
        send(QEvent::MouseButtonRelease, from + by);
    }
};

TEST_F(FloatingStop, HasNoWindowBeforeItIsNeeded) {
    EXPECT_EQ(button->panel(), nullptr);
    EXPECT_FALSE(button->visible());
}

TEST_F(FloatingStop, WithTheSettingOffItNeverShows) {
    model->settings.floatingStopButton.set(false);
    receive(on(true, true));
    EXPECT_EQ(button->panel(), nullptr);
    EXPECT_FALSE(button->visible());
}

TEST_F(FloatingStop, FollowsTheSettingWhileTheCameraIsOn) {
    model->settings.floatingStopButton.set(false);
    receive(on(true, false));
    model->settings.floatingStopButton.set(true);
    EXPECT_TRUE(isShown());
    model->settings.floatingStopButton.set(false);
    EXPECT_FALSE(isShown());
}

TEST_F(FloatingStop, IsThereAtOnceWhereTheCameraWasOnBefore) {
    receive(on(true, false));
    button = std::make_unique<FloatingStopButton>(*model, time, [] {});
    EXPECT_TRUE(isShown());
}

TEST_F(FloatingStop, SaysWhatItStops) {
    receive(on(true, true));
    EXPECT_EQ(content().label, "Stop camera and microphone");
    receive(on(true, false));
    EXPECT_EQ(content().label, "Stop camera");
    receive(on(false, true));
    EXPECT_EQ(content().label, "Stop microphone");
    EXPECT_EQ(FloatingStopButton::label({}), "");
}

TEST_F(FloatingStop, TheSpeakerAloneShowsNothing) {
    SystemSnapshot playing;
    playing.speakerApps = {testing::appRef("Music")};
    receive(playing);
    EXPECT_FALSE(button->visible());
}

TEST_F(FloatingStop, GoesInTheSameEventAsTheLastDevice) {
    receive(on(true, false));
    ASSERT_TRUE(isShown());
    // Nothing runs in between: no timer, no posted work.
    model->receive({});
    EXPECT_FALSE(isShown());
    EXPECT_FALSE(button->visible());
}

TEST_F(FloatingStop, FoldsItsLabelAfterFourSeconds) {
    receive(on(true, false));
    EXPECT_TRUE(content().expanded);
    const auto wide = frame();
    time.advanceBy(3.99);
    EXPECT_TRUE(content().expanded);
    time.advanceBy(0.02);
    EXPECT_FALSE(content().expanded);
    EXPECT_EQ(frame().size(), QSize(64, 64));
    EXPECT_EQ(frame().right(), wide.right());
    EXPECT_EQ(frame().y(), wide.y());
}

TEST_F(FloatingStop, ASecondDeviceDoesNotUnfoldIt) {
    receive(on(true, false));
    time.advanceBy(5);
    receive(on(true, true));
    EXPECT_FALSE(content().expanded);
}

TEST_F(FloatingStop, ItsNextComingShowsTheLabelForFourSecondsAgain) {
    receive(on(true, false));
    time.advanceBy(3);
    receive({});
    receive(on(true, false));
    // When the first coming's label would have folded.
    time.advanceBy(1.5);
    EXPECT_TRUE(content().expanded);
    time.advanceBy(2.6);
    EXPECT_FALSE(content().expanded);
}

TEST_F(FloatingStop, NoFoldIsPendingOnceItHasGone) {
    receive({});
    time.advanceBy(20);
    // What is due anyway comes later than a fold would.
    while (*time.nextDue() - time.elapsed() < 4.5) {
        time.advanceTo(*time.nextDue());
    }
    const auto idle = time.nextDue();
    receive(on(true, false));
    EXPECT_LT(*time.nextDue(), *idle);
    receive({});
    time.advanceBy(1.5); // the model's own look a second after a change
    EXPECT_EQ(time.nextDue(), idle);
}

TEST_F(FloatingStop, DoesNotFoldUnderTheMouse) {
    receive(on(true, false));
    hover(true);
    time.advanceBy(60);
    EXPECT_TRUE(content().expanded);
    hover(false);
    time.advanceBy(0.79);
    EXPECT_TRUE(content().expanded);
    time.advanceBy(0.02);
    EXPECT_FALSE(content().expanded);
}

TEST_F(FloatingStop, UnfoldsUnderTheMouse) {
    receive(on(true, false));
    time.advanceBy(5);
    ASSERT_FALSE(content().expanded);
    hover(true);
    EXPECT_TRUE(content().expanded);
    hover(false);
    hover(true); // back before it has folded
    time.advanceBy(5);
    EXPECT_TRUE(content().expanded);
}

TEST_F(FloatingStop, AMouseThatWasOverItWhenItWentIsForgotten) {
    receive(on(true, false));
    hover(true);
    receive({});
    hover(false);
    receive(on(true, false));
    time.advanceBy(4.1);
    EXPECT_FALSE(content().expanded);
}

TEST_F(FloatingStop, AClickStops) {
    receive(on(true, false));
    const QPoint at = frame().center();
    send(QEvent::MouseButtonPress, at);
    EXPECT_EQ(presses, 0);
    send(QEvent::MouseButtonRelease, at);
    EXPECT_EQ(presses, 1);
}

TEST_F(FloatingStop, OnlyTheFirstMouseButtonStops) {
    receive(on(true, false));
    for (const auto which : {Qt::RightButton, Qt::MiddleButton}) {
        send(QEvent::MouseButtonPress, frame().center(), which);
        send(QEvent::MouseButtonRelease, frame().center(), which);
    }
    EXPECT_EQ(presses, 0);
}

TEST_F(FloatingStop, AMoveOfLessThanFourPointsIsAClick) {
    receive(on(true, false));
    const auto before = frame();
    drag({2, 3}); // 3.6
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(frame(), before);
    EXPECT_EQ(*model->settings.floatingStopPlace, std::nullopt);
}

TEST_F(FloatingStop, AMoveOfFourPointsMovesItAndStopsNothing) {
    receive(on(true, false));
    const auto before = frame();
    drag({0, 4});
    EXPECT_EQ(presses, 0);
    EXPECT_EQ(frame(), before.translated(0, 4));
}

TEST_F(FloatingStop, ADragBackToItsBeginningIsNoClick) {
    receive(on(true, false));
    const QPoint from = frame().center();
    send(QEvent::MouseButtonPress, from);
    send(QEvent::MouseMove, from + QPoint(30, 30));
    send(QEvent::MouseMove, from);
    send(QEvent::MouseButtonRelease, from);
    EXPECT_EQ(presses, 0);
}

TEST_F(FloatingStop, KeepsThePlaceItWasDraggedTo) {
    receive(on(true, false));
    time.advanceBy(5);
    const auto before = frame();
    drag({-40, 120});
    EXPECT_EQ(frame(), before.translated(-40, 120));
    EXPECT_EQ(*model->settings.floatingStopPlace,
              (Point{before.x() - 40 + 32.0, before.y() + 120 + 32.0}));
    EXPECT_EQ(settings.numbers("floatingStopPlace"),
              (std::vector<double>{before.x() - 40 + 32.0, before.y() + 120 + 32.0}));
    receive({});
    receive(on(true, false));
    time.advanceBy(5);
    EXPECT_EQ(frame(), before.translated(-40, 120));
}

TEST_F(FloatingStop, GrowsToTheRightInTheLeftHalf) {
    model->settings.floatingStopPlace.set(Point{100, 300});
    receive(on(true, false));
    EXPECT_FALSE(content().iconAtRight);
    EXPECT_EQ(frame().left(), 68);
    time.advanceBy(5);
    EXPECT_EQ(frame(), QRect(68, 300 - 32, 64, 64));
}

TEST_F(FloatingStop, AChangedPlaceMovesIt) {
    receive(on(true, false));
    time.advanceBy(5);
    model->settings.floatingStopPlace.set(Point{200, 200});
    EXPECT_EQ(frame(), QRect(168, 168, 64, 64));
}

TEST_F(FloatingStop, WhatComesDuringADragWaitsForItsEnd) {
    receive(on(true, false));
    const auto wide = frame();
    const QPoint from = frame().center();
    send(QEvent::MouseButtonPress, from);
    send(QEvent::MouseMove, from + QPoint(0, 50));
    time.advanceBy(5);
    receive(on(true, true));
    EXPECT_EQ(frame(), wide.translated(0, 50));
    send(QEvent::MouseButtonRelease, from + QPoint(0, 50));
    EXPECT_EQ(content().label, "Stop camera and microphone");
    EXPECT_FALSE(content().expanded);
    EXPECT_EQ(frame().right(), wide.right());
}

TEST_F(FloatingStop, GoesAlsoFromUnderADragAndThenClicksNothing) {
    receive(on(true, false));
    const QPoint from = frame().center();
    send(QEvent::MouseButtonPress, from);
    receive({});
    EXPECT_FALSE(isShown());
    send(QEvent::MouseButtonRelease, from);
    EXPECT_EQ(presses, 0);
}

TEST_F(FloatingStop, IsDimmedWhileAStopIsUnderWay) {
    receive(microphone({testing::appRef("Zoom")}));
    const auto bright = button->panel()->grab().toImage();
    model->stopEverything();
    ASSERT_TRUE(*model->isStopping);
    EXPECT_TRUE(content().stopping);
    const auto dimmed = button->panel()->grab().toImage();
    // The capsule's middle row, left of the symbol: a plain face.
    const QPoint face(FloatingStopView::margin + 8, dimmed.height() / 2);
    EXPECT_EQ(bright.pixelColor(face).alpha(), 255);
    EXPECT_NEAR(dimmed.pixelColor(face).alphaF(), 0.55, 0.01);
    time.advanceBy(10);
    EXPECT_FALSE(content().stopping);
}

TEST_F(FloatingStop, ShowsTheStopSymbolAtSizeTwelveInItsMiddle) {
    receive(on(true, false));
    time.advanceBy(5);
    auto& panel = *button->panel();
    const auto face = panel.grab().toImage();
    const QRect place((panel.width() - 12) / 2, (panel.height() - 12) / 2, 12, 12);
    const CardColors colors(panel.palette());
    auto expected = face.copy();
    QPainter painter(&expected);
    painter.fillRect(place.adjusted(-4, -4, 4, 4), colors.card);
    painter.drawPixmap(place.topLeft(),
                       symbolPixmap(QStringLiteral("stop.fill"), colors.warning, 12, 1));
    painter.end();
    EXPECT_EQ(face, expected);
    EXPECT_EQ(face.pixelColor(place.center()), colors.warning);
}

TEST_F(FloatingStop, NeverTakesTheFocus) {
    receive(on(true, false));
    const auto& panel = *button->panel();
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(panel.testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_FALSE(panel.isActiveWindow());
    EXPECT_EQ(mouse().focusPolicy(), Qt::NoFocus);
}

TEST_F(FloatingStop, IsAButtonToWhoeverHasTheScreenReadAloud) {
    receive(on(true, false));
    time.advanceBy(5); // folded, and yet it has its name
    auto* spoken = QAccessible::queryAccessibleInterface(&mouse());
    EXPECT_EQ(spoken->role(), QAccessible::Button);
    EXPECT_EQ(spoken->text(QAccessible::Name), "Stop camera");
    mouse().click();
    EXPECT_EQ(presses, 1);
}

TEST_F(FloatingStop, ShowsTheSymbolInRedAtTheEndThatStays) {
    receive(on(true, false));
    const auto redAt = [&](const QPoint& place) {
        const auto color = button->panel()->grab().toImage().pixelColor(place);
        return color.red() > color.green() + 100 && color.alpha() == 255;
    };
    EXPECT_TRUE(redAt({frame().width() - 32, 32}));
    EXPECT_FALSE(redAt({32, 32}));
    model->settings.floatingStopPlace.set(Point{100, 300});
    EXPECT_TRUE(redAt({32, 32}));
}

TEST_F(FloatingStop, AfterItsEndNothingMovesAnything) {
    receive(on(true, false));
    button.reset();
    receive({});
    receive(on(true, true));
    model->settings.floatingStopButton.set(false);
    time.advanceBy(10);
    EXPECT_EQ(presses, 0);
}

} // namespace
} // namespace velmoran
