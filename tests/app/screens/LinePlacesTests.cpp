#include "app/screens/LinePlaces.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(LinePlaces, AreOneUnderTheOtherWithHigherHeadings) {
    const LinePlaces places(4, {0, 2}, 20);
    EXPECT_EQ(places.topOf(0), 0);
    EXPECT_EQ(places.topOf(1), 36);
    EXPECT_EQ(places.topOf(2), 56);
    EXPECT_EQ(places.topOf(3), 92);
    EXPECT_EQ(places.height(), 112);
}

TEST(LinePlaces, AreEachOfItsOwnHeightWhereHeightsAreGiven) {
    LinePlaces places({10, 50, 5}, {0}, 20);
    places.setLineHeight(30); // of a step alone, then
    EXPECT_EQ(places.count(), 3);
    EXPECT_EQ(places.topOf(1), 10);
    EXPECT_EQ(places.topOf(2), 60);
    EXPECT_EQ(places.height(), 65);
}

TEST(LinePlaces, KnowWhichLineAHeightBelongsTo) {
    const LinePlaces places({10, 50, 5}, {}, 20);
    EXPECT_EQ(places.lineAt(-5), 0);
    EXPECT_EQ(places.lineAt(9), 0);
    EXPECT_EQ(places.lineAt(10), 1);
    EXPECT_EQ(places.lineAt(59), 1);
    EXPECT_EQ(places.lineAt(60), 2);
    EXPECT_EQ(places.lineAt(1000), 2);
}

TEST(LinePlaces, FindTheNextLineThatIsNoHeading) {
    const LinePlaces places(4, {0, 2}, 20);
    EXPECT_EQ(places.nearestLine(0, 1), 1);
    EXPECT_EQ(places.nearestLine(2, -1), 1);
    EXPECT_EQ(places.nearestLine(2, 1), 3);
    EXPECT_EQ(places.nearestLine(0, -1), std::nullopt);
    EXPECT_EQ(places.nearestLine(4, 1), std::nullopt);
    EXPECT_EQ(LinePlaces().nearestLine(0, 1), std::nullopt);
    EXPECT_EQ(LinePlaces().height(), 0);
}

} // namespace
} // namespace velmoran
