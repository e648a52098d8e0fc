#include "system/linux/pipewire/CountedUses.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <set>

namespace velmoran {
namespace {

struct CountedUsesTest : ::testing::Test {
    ScriptedTime time;
    int changes = 0;
    CountedUses uses{time, time, {.confirmation = 0.02, .brief = 0.05}, [this] {
                         ++changes;
                     }};
    std::set<GraphSerial> nodes;

    static CountedUses::User user(bool input = true, bool output = false, bool isSure = false) {
        GraphPicture::Process entry;
        entry.process.objectID = 1;
        entry.process.isRunningInput = input;
        entry.process.isRunningOutput = output;
        return {.client = 7, .node = 70, .app = "app", .isSure = isSure, .entry = entry};
    }
    std::vector<GraphPicture::Process> told(const std::vector<CountedUses::User>& users) {
        return uses.tellable(users, [this](GraphSerial node) { return nodes.contains(node); });
    }
    bool tells(const std::vector<CountedUses::User>& users) { return !told(users).empty(); }
};

TEST_F(CountedUsesTest, TellsOfWhatIsSureForAsLongAsItIsThere) {
    const auto one = user(true, true, true);
    EXPECT_EQ(told({one}), std::vector{one.entry});
    EXPECT_FALSE(tells({}));
}

TEST_F(CountedUsesTest, TellsOfEachDirectionWhenItCounts) {
    EXPECT_FALSE(tells({user(true, false)}));
    time.advanceBy(0.015);
    EXPECT_FALSE(tells({user(true, true)}));
    time.advanceBy(0.006);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(told({user(true, true)}), std::vector{user(true, false).entry});
    time.advanceBy(0.015);
    EXPECT_EQ(told({user(true, true)}), std::vector{user(true, true).entry});
    EXPECT_FALSE(tells({}));
}

TEST_F(CountedUsesTest, TellsForAMomentOfAStreamThatEndedBeforeItCounted) {
    nodes = {70};
    tells({user()});
    time.advanceBy(0.01);
    EXPECT_FALSE(tells({}));
    nodes = {};
    EXPECT_TRUE(tells({}));
    time.advanceBy(0.051);
    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(tells({}));
}

TEST_F(CountedUsesTest, TellsNothingOfAStreamThatOnlyPausedBeforeItCounted) {
    nodes = {70};
    tells({user()});
    time.advanceBy(0.01);
    EXPECT_FALSE(tells({}));
    time.advanceBy(0.051);
    nodes = {};
    EXPECT_FALSE(tells({}));
}

TEST_F(CountedUsesTest, TellsOfOneUseWhilePausesFollowEachOther) {
    nodes = {70};
    for (int number = 0; number < 4; ++number) {
        EXPECT_FALSE(tells({user()})) << number;
        time.advanceBy(0.0045);
        EXPECT_FALSE(tells({})) << number;
        time.advanceBy(0.0045);
    }
    tells({user()});
    time.advanceBy(0.003);
    EXPECT_EQ(changes, 1);
    for (int number = 0; number < 50; ++number) {
        EXPECT_EQ(told({user()}), std::vector{user().entry}) << number;
        time.advanceBy(0.0045);
        EXPECT_EQ(told({}), std::vector{user().entry}) << number;
        time.advanceBy(0.0045);
    }
    EXPECT_EQ(changes, 1);
    time.advanceBy(0.05);
    EXPECT_EQ(changes, 2);
    EXPECT_FALSE(tells({}));
}

TEST_F(CountedUsesTest, EndsWhatWasBriefInItsTimeBesideOthers) {
    auto other = user();
    other.client = 8;
    other.node = 80;
    other.app = "other";
    other.entry.process.objectID = 2;
    tells({other});
    time.advanceBy(0.01);
    EXPECT_EQ(told({}), std::vector{other.entry}) << "its node has gone";
    for (int number = 0; number < 10; ++number) {
        tells({user()});
        time.advanceBy(0.008);
        tells({});
    }
    EXPECT_EQ(told({}), std::vector{user().entry});
}

TEST_F(CountedUsesTest, ForgetsWhoWasLeavingWithTheGraph) {
    nodes = {70};
    tells({user()});
    time.advanceBy(0.01);
    tells({});
    uses.clear();
    nodes = {};
    EXPECT_FALSE(tells({}));
}

} // namespace
} // namespace velmoran
