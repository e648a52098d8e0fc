#include "app/screens/WindowPlacing.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

const QRect visible(0, 24, 1280, 776);

TEST(WindowPlacing, CentresALittleAboveTheMiddle) {
    // 776 less 476 are 300 free; a quarter of that is above.
    EXPECT_EQ(centred(visible, {720, 476}), QPoint(280, 24 + 75));
    EXPECT_EQ(centred(visible.translated(1280, -100), {720, 476}), QPoint(1560, -1));
}

TEST(WindowPlacing, CentresAWindowAsHighAsTheScreen) {
    EXPECT_EQ(centred(visible, {720, 776}), QPoint(280, 24));
}

TEST(WindowPlacing, BeginsAWindowThatIsTooLargeWhereItsTitleCanBeReached) {
    EXPECT_EQ(centred(visible, {2000, 900}), QPoint(0, 24));
    EXPECT_EQ(keptOn(visible, {-300, 500, 2000, 900}), QRect(0, 24, 2000, 900));
}

TEST(WindowPlacing, MovesNoFurtherThanItMust) {
    EXPECT_EQ(keptOn(visible, {100, 100, 720, 460}), QRect(100, 100, 720, 460));
    // Up, when it has become higher.
    EXPECT_EQ(keptOn(visible, {100, 500, 320, 400}), QRect(100, 400, 320, 400));
    EXPECT_EQ(keptOn(visible, {-40, 0, 320, 400}), QRect(0, 24, 320, 400));
    EXPECT_EQ(keptOn(visible, {1200, 100, 320, 400}), QRect(960, 100, 320, 400));
}

TEST(WindowPlacing, FindsTheScreenThatHasMostOfAWindow) {
    const QRect second(1280, 0, 1920, 1080);
    EXPECT_EQ(screenOf({1100, 100, 320, 400}, {visible, second}), visible);
    EXPECT_EQ(screenOf({1150, 100, 320, 400}, {visible, second}), second);
    // Its own one has gone.
    EXPECT_EQ(screenOf({5000, 100, 320, 400}, {visible, second}), second);
    EXPECT_EQ(screenOf({-900, 100, 320, 400}, {visible, second}), visible);
    EXPECT_EQ(screenOf({0, 0, 320, 400}, {}), QRect());
}

TEST(WindowPlacing, TakesNoMoreThanTheScreenHas) {
    EXPECT_EQ(fitting({0, 0, 640, 480}, {720, 460}, {2, 24}), QSize(638, 456));
    EXPECT_EQ(fitting({0, 0, 640, 480}, {320, 400}, {2, 24}), QSize(320, 400));
    EXPECT_EQ(fitting({}, {720, 460}, {2, 24}), QSize(0, 0));
}

RC_GTEST_PROP(WindowPlacing, KeepsWhatFitsOnTheScreenAlwaysThere, ()) {
    const QRect screen(*rc::gen::inRange(-4000, 4000), *rc::gen::inRange(-4000, 4000),
                       *rc::gen::inRange(1, 4000), *rc::gen::inRange(1, 4000));
    const QSize size(*rc::gen::inRange(1, screen.width() + 1),
                     *rc::gen::inRange(1, screen.height() + 1));
    const QPoint anywhere(*rc::gen::inRange(-9000, 9000), *rc::gen::inRange(-9000, 9000));
    RC_ASSERT(screen.contains(keptOn(screen, {anywhere, size})));
    RC_ASSERT(screen.contains(QRect(centred(screen, size), size)));
}

} // namespace
} // namespace velmoran
