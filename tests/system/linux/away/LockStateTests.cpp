#include "system/linux/away/LockState.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Voice = LockState::Voice;

class LockStateTest : public ::testing::Test {
protected:
    LockState state_;
};

TEST_F(LockStateTest, IsUnlockedWhileNobodySaysAnything) {
    EXPECT_FALSE(state_.isLocked());
    EXPECT_FALSE(state_.hasHeardALock());
}

TEST_F(LockStateTest, IsLockedFromTheFirstWordToTheLast) {
    state_.say(Voice::request, true);
    EXPECT_TRUE(state_.isLocked());
    state_.say(Voice::gnomeSaver, true);
    state_.say(Voice::hint, true);
    EXPECT_TRUE(state_.isLocked());
    state_.say(Voice::hint, false);
    EXPECT_TRUE(state_.isLocked()) << "the screen saver still covers it";
    state_.say(Voice::gnomeSaver, false);
    EXPECT_FALSE(state_.isLocked());
}

TEST_F(LockStateTest, AnyVoiceAloneIsEnough) {
    for (const auto voice :
         {Voice::request, Voice::hint, Voice::desktopSaver, Voice::gnomeSaver, Voice::gnomeShell,
          Voice::cinnamonSaver, Voice::mateSaver, Voice::xfceSaver}) {
        state_.say(voice, true);
        EXPECT_TRUE(state_.isLocked());
        state_.say(voice, false);
        EXPECT_FALSE(state_.isLocked());
    }
}

TEST_F(LockStateTest, ALockThatWasAskedForEndsWhenTheLockerSaysSo) {
    state_.say(Voice::request, true);
    state_.say(Voice::hint, true);
    state_.say(Voice::hint, false); // a password was typed: logind asks for nothing then
    EXPECT_FALSE(state_.isLocked());
}

TEST_F(LockStateTest, ALockerThatDoesNotObeyKeepsTheScreenLocked) {
    state_.say(Voice::hint, true);
    state_.say(Voice::request, false);
    EXPECT_TRUE(state_.isLocked());
}

TEST_F(LockStateTest, TheSameWordTwiceIsOne) {
    state_.say(Voice::request, true);
    state_.say(Voice::request, true);
    state_.say(Voice::request, false);
    EXPECT_FALSE(state_.isLocked());
    state_.say(Voice::request, false);
    EXPECT_FALSE(state_.isLocked());
}

TEST_F(LockStateTest, AScreenThatIsFoundLockedAtFirstIsNoLock) {
    state_.answer(Voice::hint, true);
    EXPECT_FALSE(state_.isLocked());
    EXPECT_TRUE(state_.hasHeardALock());
    state_.answer(Voice::gnomeSaver, true); // of the same lock
    EXPECT_FALSE(state_.isLocked());
    state_.say(Voice::request, true);
    EXPECT_FALSE(state_.isLocked());

    state_.say(Voice::hint, false);
    state_.say(Voice::gnomeSaver, false);
    EXPECT_FALSE(state_.isLocked());
    state_.say(Voice::hint, true);
    EXPECT_TRUE(state_.isLocked()) << "the next one is";
}

TEST_F(LockStateTest, AScreenThatIsFoundLockedLaterIsALockThatWasMissed) {
    state_.answer(Voice::hint, false);
    state_.answer(Voice::hint, true);
    EXPECT_TRUE(state_.isLocked());
    state_.answer(Voice::hint, false);
    EXPECT_FALSE(state_.isLocked());
}

TEST_F(LockStateTest, AnAnswerThatNobodyCoversItEndsNoOthersLock) {
    state_.say(Voice::request, true);
    state_.answer(Voice::desktopSaver, false);
    EXPECT_TRUE(state_.isLocked());
}

TEST_F(LockStateTest, WhoeverLeavesSaysNothingMore) {
    state_.say(Voice::gnomeSaver, true);
    state_.say(Voice::hint, true);
    state_.leave(Voice::gnomeSaver);
    EXPECT_TRUE(state_.isLocked());
    state_.leave(Voice::hint);
    EXPECT_FALSE(state_.isLocked());
    EXPECT_TRUE(state_.hasHeardALock());
}

} // namespace
} // namespace velmoran
