#include "core/warnings/StatusIconState.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

StatusIconState stateOf(bool camera, bool microphone, bool strong, bool away) {
    return statusIconState({.cameraOn = camera,
                            .microphoneOn = microphone,
                            .strongWarningWaiting = strong,
                            .awayWatchOn = away});
}

TEST(StatusIconState, IsAlertWithAllAndIdleWithNothing) {
    EXPECT_EQ(stateOf(true, true, true, true), StatusIconState::alert);
    EXPECT_EQ(stateOf(false, false, false, false), StatusIconState::idle);
}

TEST(StatusIconState, ShowsUseBeforeTheAwayWatch) {
    EXPECT_EQ(stateOf(true, false, false, true), StatusIconState::inUse);
    EXPECT_EQ(stateOf(false, true, false, true), StatusIconState::inUse);
    EXPECT_EQ(stateOf(false, false, false, true), StatusIconState::awayWatch);
}

TEST(StatusIconState, ShowsAStrongWarningBeforeAllElse) {
    for (int bits = 0; bits < 8; ++bits) {
        EXPECT_EQ(stateOf((bits & 1) != 0, (bits & 2) != 0, true, (bits & 4) != 0),
                  StatusIconState::alert);
    }
}

TEST(StatusIconState, ShowsUseOfEitherDevice) {
    EXPECT_EQ(stateOf(true, false, false, false), StatusIconState::inUse);
    EXPECT_EQ(stateOf(false, true, false, false), StatusIconState::inUse);
    EXPECT_EQ(stateOf(true, true, false, false), StatusIconState::inUse);
}

TEST(StatusIconState, IsNamedByItsCase) {
    EXPECT_EQ(rawValue(StatusIconState::idle), "idle");
    EXPECT_EQ(rawValue(StatusIconState::inUse), "inUse");
    EXPECT_EQ(rawValue(StatusIconState::alert), "alert");
    EXPECT_EQ(rawValue(StatusIconState::awayWatch), "awayWatch");
}

} // namespace
} // namespace velmoran
