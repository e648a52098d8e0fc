#include "app/shell/cards/NoticePlacing.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const QRect underABar(0, 24, 1280, 776);
const QSize panel(368, 150);

TEST(NoticePlacing, BelievesInAClickOnABarAndAtTheScreensEdgeOnly) {
    const QRect screen(0, 0, 1280, 800);
    const QRect besideABarOfEighty(80, 0, 1200, 800);
    EXPECT_TRUE(canBeOnTray({75, 400}, screen, besideABarOfEighty));
    EXPECT_FALSE(canBeOnTray({85, 400}, screen, besideABarOfEighty));
    EXPECT_FALSE(canBeOnTray({640, 400}, screen, screen));
    // A bar that hides itself takes nothing.
    for (const QPoint& click :
         {QPoint(640, 4), QPoint(640, 790), QPoint(3, 400), QPoint(1279, 400)}) {
        EXPECT_TRUE(canBeOnTray(click, screen, screen)) << click.x() << ", " << click.y();
    }
    EXPECT_FALSE(canBeOnTray({1290, 4}, screen, screen));
    // The same on a second screen.
    EXPECT_TRUE(canBeOnTray({1300, 400}, screen.translated(1280, 0), screen.translated(1280, 0)));
    EXPECT_FALSE(canBeOnTray({1900, 400}, screen.translated(1280, 0), screen.translated(1280, 0)));
}

TEST(NoticePlacing, PutsThePanelUnderTheMiddleOfTheStatusItem) {
    EXPECT_EQ(noticePanelPlace(underABar, QRect(1000, 0, 24, 24), panel), QPoint(828, 26));
}

TEST(NoticePlacing, PutsItNearTheTopRightWithoutAStatusItem) {
    // As if an item of 24 by 0 stood 40 from the right edge.
    EXPECT_EQ(noticePanelPlace({0, 24, 3000, 776}, std::nullopt, {40, 150}),
              QPoint(3000 - 40 + 12 - 20, 26));
    EXPECT_EQ(noticePanelPlace(underABar, std::nullopt, panel), QPoint(1280 - 368 - 4, 26));
}

TEST(NoticePlacing, KeepsFourPointsFromTheSides) {
    EXPECT_EQ(noticePanelPlace(underABar, QRect(1250, 0, 24, 24), panel).x(), 1280 - 368 - 4);
    EXPECT_EQ(noticePanelPlace(underABar, QRect(10, 0, 24, 24), panel).x(), 4);
}

TEST(NoticePlacing, OnAScreenThatIsTooNarrowTheRightSideWins) {
    EXPECT_EQ(noticePanelPlace({0, 0, 300, 600}, QRect(100, 0, 24, 24), panel).x(), 300 - 368 - 4);
}

TEST(NoticePlacing, StandsBelowABarThatTakesNoRoomOfItsOwn) {
    EXPECT_EQ(noticePanelPlace({0, 0, 1280, 800}, QRect(1000, 4, 24, 32), panel).y(), 38);
}

TEST(NoticePlacing, StandsBelowTheBarEvenIfTheItemEndsHigher) {
    EXPECT_EQ(noticePanelPlace({0, 40, 1280, 760}, QRect(1000, 4, 24, 24), panel).y(), 42);
}

TEST(NoticePlacing, StandsBesideAnOpenPanel) {
    const QRect cards(900, 26, 344, 200);
    EXPECT_EQ(noticeShiftBeside(underABar, cards, QRect()), 0);
    EXPECT_EQ(noticeShiftBeside(underABar, cards, QRect(950, 226, 320, 400)), 0) << "below";
    const QRect onTheRight(950, 26, 320, 400);
    const auto left = cards.translated(noticeShiftBeside(underABar, cards, onTheRight), 0);
    EXPECT_EQ(left.right() + 1 + 8, onTheRight.left());
    const QRect onTheLeft(100, 26, 320, 400);
    const QRect above(80, 26, 344, 200);
    const auto right = above.translated(noticeShiftBeside(underABar, above, onTheLeft), 0);
    EXPECT_EQ(right.left(), onTheLeft.right() + 1 + 8);
    const QRect narrow(0, 24, 600, 776);
    EXPECT_EQ(noticeShiftBeside(narrow, QRect(200, 26, 344, 200), QRect(240, 26, 320, 400)), 0)
        << "there is no room on either side";
}

TEST(NoticePlacing, KnowsHowMuchRoomThereIs) {
    EXPECT_EQ(noticePanelRoom(underABar, QRect(1000, 0, 24, 24)), 774);
    EXPECT_EQ(noticePanelRoom({0, 0, 1280, 800}, QRect(1000, 4, 24, 32)), 762);
    EXPECT_EQ(noticePanelRoom({0, 0, 1280, 770}, QRect(1000, 776, 24, 24)), 768);
    EXPECT_EQ(noticePanelRoom(underABar, std::nullopt), 774);
}

TEST(NoticePlacing, StandsAboveATrayAtTheBottom) {
    const QRect overABar(0, 0, 1280, 770);
    EXPECT_EQ(noticePanelPlace(overABar, QRect(1000, 773, 24, 24), panel),
              QPoint(828, 770 - 150 - 2));
    EXPECT_EQ(noticePanelPlace({0, 0, 1280, 800}, QRect(1000, 773, 24, 24), panel).y(),
              773 - 150 - 2);
}

TEST(NoticePlacing, KeepsToTheScreenOfTheItem) {
    const QRect second(1280, 0, 1920, 1080);
    EXPECT_EQ(noticePanelPlace(second, QRect(1290, 0, 24, 24), panel), QPoint(1284, 26));
}

TEST(NoticePlacing, HasAnAnswerWithoutAScreen) {
    EXPECT_EQ(noticePanelPlace(QRect(0, 0, 0, 0), std::nullopt, panel), QPoint(-372, 2));
}

const QRect screen(0, 30, 1280, 770);

TEST(NoticePlacing, CardsAtTheTopGoBelowAnObstacle) {
    const QRect cards(900, 44, 344, 120);
    EXPECT_EQ(noticeClearance(screen, cards, QRect(1216, 54, 40, 40)), 94 + 8 - 44);
    EXPECT_EQ(noticeClearance(screen, cards, QRect(100, 54, 40, 40)), 0);
    EXPECT_EQ(noticeClearance(screen, cards, QRect()), 0);
}

TEST(NoticePlacing, CardsAtTheBottomGoAboveAnObstacle) {
    const QRect cards(900, 640, 344, 120);
    const auto by = noticeClearance(screen, cards, QRect(1216, 700, 40, 40));
    EXPECT_EQ(cards.translated(0, by).bottom() + 1 + 8, 700);
}

TEST(NoticePlacing, CardsThatHaveNoRoomStayWhereTheyAre) {
    EXPECT_EQ(noticeClearance(screen, QRect(900, 44, 344, 720), QRect(1216, 54, 40, 40)), 0);
}

TEST(NoticePlacing, TooManyCardsGetTheLargerPartThatAnObstacleLeaves) {
    const QRect item(1000, 0, 24, 24);
    // Beyond a button near the tray: from 54 + 40 + 8 to 800, and the padding outside of that.
    EXPECT_EQ(noticeRoomBeside(screen, item, QRect(1216, 54, 40, 40), 12), 800 - 102 + 24);
    // Before one that is far away: from 32 to 700 - 8, with the padding below.
    EXPECT_EQ(noticeRoomBeside(screen, item, QRect(1216, 700, 40, 40), 12), 692 - 32 + 12);
}

TEST(NoticePlacing, ItIsTheSameUpwardFromATrayAtTheBottom) {
    const QRect overABar(0, 0, 1280, 770);
    const QRect item(1000, 776, 24, 24);
    EXPECT_EQ(noticeRoomBeside(overABar, item, QRect(1216, 700, 40, 40), 12), 692 + 24);
    EXPECT_EQ(noticeRoomBeside(overABar, item, QRect(1216, 54, 40, 40), 12), 768 - 102 + 12);
}

} // namespace
} // namespace velmoran
