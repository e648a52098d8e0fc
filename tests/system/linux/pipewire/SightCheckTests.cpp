#include "system/linux/pipewire/SightCheck.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SightCheck, AsksNothingWhileNothingIsRemoved) {
    SightCheck sight;
    sight.appeared(40, 1040);
    EXPECT_FALSE(sight.beginQuestion());
    sight.doubt();
    EXPECT_TRUE(sight.beginQuestion());
    EXPECT_FALSE(sight.beginQuestion()) << "one at a time";
    EXPECT_THAT(sight.answered(true), IsEmpty());
    EXPECT_FALSE(sight.beginQuestion());
}

TEST(SightCheck, BelievesARemovalOnceNothingIsHidden) {
    SightCheck sight;
    sight.appeared(40, 1040);
    sight.removed(40);
    EXPECT_TRUE(sight.beginQuestion());
    EXPECT_THAT(sight.answered(true), ElementsAre(40));
    EXPECT_FALSE(sight.isTaken());
    EXPECT_FALSE(sight.beginQuestion());
}

TEST(SightCheck, BelievesNoRemovalThatCameAfterTheQuestion) {
    SightCheck sight;
    sight.appeared(40, 1040);
    sight.appeared(41, 1041);
    sight.removed(40);
    EXPECT_TRUE(sight.beginQuestion());
    sight.removed(41);
    EXPECT_THAT(sight.answered(true), ElementsAre(40));
    EXPECT_TRUE(sight.beginQuestion());
    EXPECT_THAT(sight.answered(true), ElementsAre(41));
}

TEST(SightCheck, IsTakenWhereAnythingIsHidden) {
    SightCheck sight;
    sight.appeared(40, 1040);
    sight.removed(40);
    EXPECT_TRUE(sight.beginQuestion());
    EXPECT_THAT(sight.answered(false), IsEmpty());
    EXPECT_TRUE(sight.isTaken());
}

TEST(SightCheck, IsTakenWhenTheServerOrTheOwnClientVanishes) {
    for (const std::uint32_t vanished : {0, 33}) {
        SightCheck sight;
        sight.setOwnClient(33);
        sight.appeared(0, 0);
        sight.appeared(33, 1033);
        sight.removed(vanished);
        EXPECT_TRUE(sight.isTaken()) << vanished;
    }
}

TEST(SightCheck, IsTakenWhenTheSameObjectComesAgain) {
    SightCheck sight;
    sight.appeared(40, 1040);
    sight.removed(40);
    sight.appeared(40, 1040);
    EXPECT_TRUE(sight.isTaken()) << "it was never gone";
}

TEST(SightCheck, BelievesARemovalWhenTheIdIsGivenOutAgain) {
    SightCheck sight;
    EXPECT_FALSE(sight.appeared(40, 1040));
    sight.removed(40);
    EXPECT_TRUE(sight.beginQuestion());
    EXPECT_TRUE(sight.appeared(40, 1050)) << "the old one is gone";
    EXPECT_FALSE(sight.isTaken());
    EXPECT_THAT(sight.answered(true), IsEmpty()) << "the new one is there";
}

TEST(SightCheck, IsTakenWhenItMayNotAsk) {
    SightCheck sight;
    sight.doubt();
    EXPECT_TRUE(sight.beginQuestion());
    sight.refused();
    EXPECT_TRUE(sight.isTaken());
}

} // namespace
} // namespace velmoran
