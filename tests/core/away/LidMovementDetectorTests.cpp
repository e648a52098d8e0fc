#include "core/away/LidMovementDetector.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <vector>

namespace velmoran {
namespace {

using Movement = LidMovementDetector::Movement;

struct LidMovementDetectorTest : ::testing::Test {
    LidMovementDetector detector;

    /// What the last of these gives; none before it may give anything.
    std::optional<Movement> feed(std::initializer_list<int> angles) {
        std::optional<Movement> last;
        for (const int angle : angles) {
            EXPECT_EQ(last, std::nullopt) << "before " << angle;
            last = detector.feed(angle);
        }
        return last;
    }
};

TEST_F(LidMovementDetectorTest, TakesTheFirstReadingForTheRest) {
    EXPECT_EQ(feed({40}), std::nullopt);
    EXPECT_EQ(detector.rest, 40);
    EXPECT_EQ(detector.moving, std::nullopt);
}

TEST_F(LidMovementDetectorTest, LeavesOutWhatStaysNearTheRest) {
    EXPECT_EQ(feed({40, 41, 42, 39, 38}), std::nullopt);
    EXPECT_EQ(detector.rest, 40);
}

TEST_F(LidMovementDetectorTest, TellsAMoveOnceTheLidStands) {
    EXPECT_EQ(feed({40, 50, 51}), (Movement{40, 51}));
    EXPECT_EQ(detector.rest, 51);
    EXPECT_EQ(detector.moving, std::nullopt);
}

TEST_F(LidMovementDetectorTest, WaitsForALidThatMovesOn) {
    EXPECT_EQ(feed({40, 50, 55, 56}), (Movement{40, 56}));
}

TEST_F(LidMovementDetectorTest, TellsNothingOfALidThatComesBack) {
    EXPECT_EQ(feed({40, 50, 40}), std::nullopt);
    EXPECT_EQ(detector.rest, 40);
    EXPECT_EQ(detector.moving, std::nullopt);
}

TEST_F(LidMovementDetectorTest, TellsNothingOfALidThatIsClosed) {
    EXPECT_EQ(feed({40, 3, 2}), std::nullopt);
    EXPECT_EQ(detector.rest, 2);
}

TEST_F(LidMovementDetectorTest, TellsNothingOfALidThatWasClosed) {
    EXPECT_EQ(feed({2, 50, 50}), std::nullopt);
    EXPECT_EQ(detector.rest, 50);
}

TEST_F(LidMovementDetectorTest, TellsOfALidThatIsJustOpen) {
    EXPECT_EQ(feed({5, 50, 50}), (Movement{5, 50}));
    EXPECT_EQ(feed({5, 5}), (Movement{50, 5}));
}

TEST_F(LidMovementDetectorTest, TakesADistanceOfTheThresholdForAMove) {
    EXPECT_EQ(feed({40, 43, 44}), (Movement{40, 44}));
    EXPECT_EQ(feed({41, 40}), (Movement{44, 40}));
}

TEST_F(LidMovementDetectorTest, TakesTwoDegreesBetweenReadingsForMovingOn) {
    EXPECT_EQ(feed({40, 50, 52, 53}), (Movement{40, 53}));
}

TEST_F(LidMovementDetectorTest, RestsWhereItIsTold) {
    feed({40, 50});
    detector.restAt(60);
    EXPECT_EQ(detector.rest, 60);
    EXPECT_EQ(detector.moving, std::nullopt);
    EXPECT_EQ(feed({50, 50}), (Movement{60, 50}));
    detector.restAt({});
    EXPECT_EQ(feed({90, 90}), std::nullopt);
    EXPECT_EQ(detector.rest, 90);
}

} // namespace
} // namespace velmoran
