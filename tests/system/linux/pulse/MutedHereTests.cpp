#include "system/linux/pulse/MutedHere.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const MicrophonePlace placeA = {.name = "a", .port = "line"};
const MicrophonePlace placeB = {.name = "b", .port = ""};

TEST(MutedHere, MayBeAnyUntilSomebodySaysWhatItWas) {
    MutedHere muted;
    EXPECT_TRUE(muted.mayBeAny());
    EXPECT_FALSE(muted.isEmpty());
    muted.add(placeA);
    EXPECT_EQ(muted.places(), std::nullopt) << "the next run would take a part for all";
    EXPECT_FALSE(muted.hasNews());
    muted.allUnmuted();
    EXPECT_FALSE(muted.mayBeAny());
    EXPECT_EQ(muted.places(), MutedPlaces{placeA});
    EXPECT_TRUE(muted.hasNews());
}

TEST(MutedHere, RecallsWhatItWasToTell) {
    MutedHere before;
    before.recall(MutedPlaces());
    EXPECT_TRUE(before.isEmpty());
    EXPECT_FALSE(before.hasNews());
    EXPECT_TRUE(before.add(placeB));
    EXPECT_TRUE(before.add(placeA));
    EXPECT_FALSE(before.add(placeA));
    EXPECT_TRUE(before.hasNews());
    EXPECT_FALSE(before.hasNews());
    MutedHere after;
    after.recall(before.places());
    EXPECT_FALSE(after.mayBeAny());
    EXPECT_FALSE(after.hasNews());
    EXPECT_TRUE(after.contains(placeA));
    EXPECT_FALSE(after.contains({.name = "a", .port = "other"}));
    after.erase(placeA);
    EXPECT_TRUE(after.hasNews());
    EXPECT_EQ(after.places(), MutedPlaces{placeB});
}

TEST(MutedHere, AddsWhatAnotherProgramSays) {
    MutedHere muted;
    muted.recall(MutedPlaces{placeA});
    muted.recall(MutedPlaces{placeB});
    EXPECT_EQ(muted.places(), (MutedPlaces{placeA, placeB}));
    EXPECT_TRUE(muted.hasNews()) << "the other one doesn't know of all";
}

} // namespace
} // namespace velmoran
