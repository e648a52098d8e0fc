#include "app/shell/floating/FloatingStopPlacing.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace velmoran {

static void PrintTo(const FloatingStopLayout& layout, std::ostream* out) {
    *out << layout.frame.x() << ',' << layout.frame.y() << ' ' << layout.frame.width() << 'x'
         << layout.frame.height() << (layout.growsLeft ? " to the left" : " to the right");
}

namespace {

const QSize folded(64, 64);
const QSize unfolded(244, 64);

/// A main screen with a bar at its top, and another one to the right of it.
const ScreenArea mainScreen{.frame = {0, 0, 1280, 800}, .visible = {0, 30, 1280, 770}};
const ScreenArea secondScreen{.frame = {1280, 0, 1000, 600}, .visible = {1280, 0, 1000, 600}};
const std::vector<ScreenArea> both{mainScreen, secondScreen};

FloatingStopLayout leftward(int x, int y, const QSize& size) {
    return {.frame = {QPoint(x, y), size}, .growsLeft = true};
}

FloatingStopLayout rightward(int x, int y, const QSize& size) {
    return {.frame = {QPoint(x, y), size}, .growsLeft = false};
}

TEST(FloatingStopPlacing, StandsNearTheTopRightOfTheMainScreenAtFirst) {
    EXPECT_EQ(floatingStopLayout(std::nullopt, folded, both),
              leftward(1280 - 44 - 32, 30 + 44 - 32, folded));
    EXPECT_EQ(floatingStopLayout(std::nullopt, unfolded, both),
              leftward(1280 - 44 + 32 - 244, 30 + 44 - 32, unfolded));
}

TEST(FloatingStopPlacing, InTheRightHalfTheRightEndStays) {
    const Point place{900, 400};
    const auto small = floatingStopLayout(place, folded, both);
    const auto large = floatingStopLayout(place, unfolded, both);
    EXPECT_EQ(small, leftward(900 - 32, 400 - 32, folded));
    EXPECT_EQ(large, leftward(900 + 32 - 244, 400 - 32, unfolded));
    EXPECT_EQ(small.frame.right(), large.frame.right());
}

TEST(FloatingStopPlacing, InTheLeftHalfTheLeftEndStays) {
    const Point place{300, 400};
    EXPECT_EQ(floatingStopLayout(place, folded, both), rightward(300 - 32, 400 - 32, folded));
    EXPECT_EQ(floatingStopLayout(place, unfolded, both), rightward(300 - 32, 400 - 32, unfolded));
}

TEST(FloatingStopPlacing, TheMiddleItselfIsNotTheRightHalf) {
    EXPECT_FALSE(floatingStopLayout(Point{640, 400}, folded, both).growsLeft);
    EXPECT_TRUE(floatingStopLayout(Point{641, 400}, folded, both).growsLeft);
}

TEST(FloatingStopPlacing, EachScreenHasItsOwnMiddle) {
    EXPECT_EQ(floatingStopLayout(Point{1400, 300}, folded, both),
              rightward(1400 - 32, 300 - 32, folded));
    EXPECT_EQ(floatingStopLayout(Point{2000, 300}, folded, both),
              leftward(2000 - 32, 300 - 32, folded));
}

TEST(FloatingStopPlacing, AScreensEdgesBelongToOneScreenOnly) {
    EXPECT_TRUE(floatingStopLayout(Point{1279, 300}, folded, both).growsLeft);
    EXPECT_FALSE(floatingStopLayout(Point{1280, 300}, folded, both).growsLeft);
}

TEST(FloatingStopPlacing, APlaceOnAScreenThatHasGoneIsClampedIntoTheMainOne) {
    EXPECT_EQ(floatingStopLayout(Point{2000, 300}, folded, {mainScreen}),
              leftward(1280 - 64, 300 - 32, folded));
    EXPECT_EQ(floatingStopLayout(Point{-500, -900}, unfolded, {mainScreen}),
              rightward(0, 30, unfolded));
}

TEST(FloatingStopPlacing, StaysInsideWhatNoBarTakes) {
    EXPECT_EQ(floatingStopLayout(Point{10, 5}, folded, both), rightward(0, 30, folded));
    EXPECT_EQ(floatingStopLayout(Point{1270, 795}, folded, both),
              leftward(1280 - 64, 800 - 64, folded));
}

TEST(FloatingStopPlacing, WhereItIsTooWideItsRightAndTopEdgeCount) {
    const ScreenArea narrow{.frame = {0, 0, 200, 40}, .visible = {0, 0, 200, 40}};
    EXPECT_EQ(floatingStopLayout(Point{50, 20}, unfolded, {narrow}),
              rightward(200 - 244, 0, unfolded));
}

TEST(FloatingStopPlacing, NonsenseInTheSettingsAndNoScreenEndSomewhere) {
    const auto infinite = std::numeric_limits<double>::infinity();
    const QRect visible = mainScreen.visible;
    for (const double value : {infinite, -infinite, std::nan(""), 1e300, -1e300}) {
        const auto layout = floatingStopLayout(Point{value, value}, unfolded, both);
        EXPECT_TRUE(visible.contains(layout.frame)) << value;
    }
    EXPECT_EQ(floatingStopLayout(std::nullopt, folded, {}).frame.size(), folded);
    EXPECT_TRUE(std::isfinite(floatingStopPlace(QRect(0, 0, 64, 64), {}).x));
}

TEST(FloatingStopPlacing, KeepsTheIconsEnd) {
    // Dropped in the right half with its words out, then in the left half.
    EXPECT_EQ(floatingStopPlace(QRect(QPoint(800, 100), unfolded), both),
              (Point{800 + 244 - 32, 132}));
    EXPECT_EQ(floatingStopPlace(QRect(QPoint(100, 100), unfolded), both), (Point{132, 132}));
}

TEST(FloatingStopPlacing, WhatIsKeptGivesTheSameFrameAgain) {
    for (const auto& size : {folded, unfolded, QSize(245, 61)}) {
        for (int x = 0; x + size.width() <= 2280; x += 7) {
            const QRect dropped(QPoint(x, 100 + x % 11), size);
            const bool acrossTheEdge = dropped.left() < 1280 && dropped.right() >= 1280;
            const auto place = floatingStopPlace(dropped, both);
            const auto again = floatingStopLayout(place, size, both);
            if (!acrossTheEdge) {
                EXPECT_EQ(again.frame, dropped);
            }
            EXPECT_EQ(floatingStopPlace(again.frame, both), place) << x;
        }
    }
}

TEST(FloatingStopPlacing, ADropOverTheEdgeStaysOnItsScreen) {
    // The icon would lie past the second screen's right edge, on none at all.
    const auto place = floatingStopPlace(QRect(QPoint(2200, 580), unfolded), both);
    EXPECT_EQ(place, (Point{2280 - 32, 600 - 32}));
    EXPECT_EQ(floatingStopLayout(place, folded, both), leftward(2280 - 64, 600 - 64, folded));
}

} // namespace
} // namespace velmoran
