#include "support/FakeNaming.h"
#include "support/TemporaryDirectory.h"
#include "system/linux/nodes/CameraNodeUsers.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>

#include <set>

namespace velmoran {
namespace {

using Users = std::optional<CameraNodeUsers::Users>;
const Users nobody = std::nullopt;

Users apps(std::vector<AttributedApp> ids) {
    return CameraNodeUsers::Users{.apps = std::move(ids), .someoneUnseen = false};
}

Users somebodyUnseen(std::vector<AttributedApp> besides = {}) {
    return CameraNodeUsers::Users{.apps = std::move(besides), .someoneUnseen = true};
}

// A node that is a plain file, and processes that are folders.
class CameraNodeUsersTest : public ::testing::Test {
protected:
    CameraNodeUsersTest() {
        node_ = folder_.write("dev/video0", "");
        nodeUsers_.setNodes({*deviceNodeAt(node_)});
    }

    void open(pid_t pid, int descriptor = 3) {
        folder_.link(at(pid) + "fd/" + std::to_string(descriptor), node_);
    }
    /// The last close comes after the memory is unmapped, as the kernel has it.
    void close(pid_t pid, int descriptor = 3) {
        const auto descriptors = folder_.path(at(pid) + "fd");
        std::filesystem::remove(descriptors + '/' + std::to_string(descriptor));
        if (std::filesystem::is_empty(descriptors)) {
            std::filesystem::remove(folder_.path(at(pid) + "maps"));
        }
    }
    void map(pid_t pid) {
        folder_.write(at(pid) + "maps", "7f00-7f01 r--p 00000000 00:05 1  /usr/lib/libc.so\n"
                                        "7f2c-7f2d rw-s 00000000 00:05 412  " +
                                            node_ + '\n');
    }
    void use(pid_t pid) {
        open(pid);
        map(pid);
        tell(1, 0);
    }
    void openUnseenForLong() {
        tell(1, 0);
        time_.advanceBy(CameraNodeUsers::grace);
    }
    void tell(int opens, int closes) {
        NodeEvents events;
        events.path = node_;
        events.opens = opens;
        events.closes = closes;
        nodeUsers_.handleEvents({events});
    }
    Users users() const { return nodeUsers_.users(node_); }

    static std::string at(pid_t pid) { return "proc/" + std::to_string(pid) + '/'; }

    TemporaryDirectory folder_;
    std::string node_;
    ScriptedTime time_;
    testing::FakeNaming naming_;
    std::set<pid_t> servers_;
    int changes_ = 0;
    CameraNodeUsers nodeUsers_{NodeHolders(folder_.path("proc"), 1),
                               {time_, naming_,
                                [this](pid_t pid) { return servers_.contains(pid); },
                                [this] {
                                    ++changes_;
                                }}};
};

TEST_F(CameraNodeUsersTest, CountsAnOpenAtOnceThatMapsTheNode) {
    open(7);
    map(7);
    tell(1, 0);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    EXPECT_EQ(changes_, 1);
}

TEST_F(CameraNodeUsersTest, NeverCountsAnOpenThatClosesWithinTheGraceWithoutAMapping) {
    open(7);
    tell(1, 0);
    time_.advanceTo(0.999);
    EXPECT_EQ(users(), nobody);
    close(7);
    tell(0, 1);
    time_.advanceTo(10);
    EXPECT_EQ(users(), nobody);
    EXPECT_EQ(changes_, 0);
}

TEST_F(CameraNodeUsersTest, CountsAnOpenThatLastsForTheGrace) {
    open(7);
    tell(1, 0);
    time_.advanceTo(0.999);
    EXPECT_EQ(users(), nobody);
    time_.advanceTo(1.0);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    EXPECT_EQ(changes_, 1);
}

TEST_F(CameraNodeUsersTest, FindsAMappingThatComesLaterInTheGrace) {
    open(7);
    tell(1, 0);
    time_.advanceTo(0.040);
    map(7);
    EXPECT_EQ(users(), nobody);
    time_.advanceTo(0.050);
    EXPECT_EQ(users(), apps({"/bin/7"}));
}

TEST_F(CameraNodeUsersTest, EndsTheUseWithTheClose) {
    open(7);
    map(7);
    tell(1, 0);
    close(7);
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    EXPECT_EQ(changes_, 2);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, SleepsWhileNothingIsHeld) {
    EXPECT_FALSE(time_.nextDue());
    open(7);
    tell(1, 0);
    EXPECT_TRUE(time_.nextDue());
    close(7);
    tell(0, 1);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, ListsUsersInOrderOfOpening) {
    open(9);
    map(9);
    tell(1, 0);
    open(7);
    map(7);
    tell(1, 0);
    EXPECT_EQ(users(), apps({"/bin/9", "/bin/7"}));
    close(9);
    tell(0, 1);
    EXPECT_EQ(users(), apps({"/bin/7"}));
}

TEST_F(CameraNodeUsersTest, ListsTwoProcessesOfOneAppOnce) {
    naming_.paths = {{7, "/bin/browser"}, {8, "/bin/browser"}};
    open(7);
    map(7);
    open(8);
    map(8);
    tell(2, 0);
    EXPECT_EQ(users(), apps({"/bin/browser"}));
}

TEST_F(CameraNodeUsersTest, PassesOverWhoHoldsItForOthers) {
    servers_.insert(7);
    open(7);
    map(7);
    tell(1, 0);
    time_.advanceTo(5);
    EXPECT_EQ(users(), nobody);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, TellsOfAHolderOutOfSightAfterTheGrace) {
    tell(1, 0);
    time_.advanceTo(0.999);
    EXPECT_EQ(users(), nobody);
    time_.advanceTo(1.0);
    EXPECT_EQ(users(), somebodyUnseen());
    EXPECT_EQ(changes_, 1);
    EXPECT_FALSE(time_.nextDue());
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    EXPECT_EQ(changes_, 2);
}

TEST_F(CameraNodeUsersTest, TellsOfSomebodyInSightBesideAHolderOutOfSight) {
    openUnseenForLong();
    use(7);
    EXPECT_EQ(users(), somebodyUnseen({"/bin/7"}));
    close(7);
    tell(0, 1);
    EXPECT_EQ(users(), somebodyUnseen());
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
}

TEST_F(CameraNodeUsersTest, TellsOfAHolderOutOfSightBesideSomebodyInSight) {
    use(7);
    tell(1, 0);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    time_.advanceTo(1.0);
    EXPECT_EQ(users(), somebodyUnseen({"/bin/7"}));
    tell(0, 1);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    EXPECT_EQ(changes_, 3);
}

TEST_F(CameraNodeUsersTest, TakesTwoOutOfSightForOneUseUntilTheLastClose) {
    openUnseenForLong();
    tell(1, 0);
    tell(0, 1);
    EXPECT_EQ(users(), somebodyUnseen());
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    EXPECT_EQ(changes_, 2);
}

TEST_F(CameraNodeUsersTest, KeepsAUseOutOfSightWhenADescriptorInSightIsDuplicated) {
    openUnseenForLong();
    use(7);
    open(8); // a child that has it from 7: no event tells
    use(9);
    EXPECT_TRUE(users()->someoneUnseen);
}

TEST_F(CameraNodeUsersTest, KeepsAUseOutOfSightWhenAnOpenInSightIsSeenBeforeItIsTold) {
    openUnseenForLong();
    use(7);
    open(8);
    close(7);
    tell(0, 1);
    EXPECT_TRUE(users()->someoneUnseen);
    tell(1, 0);
    close(8);
    tell(0, 1);
    EXPECT_EQ(users(), somebodyUnseen());
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
}

// It had the node before the program started, so that its close is the first that is heard of it.
TEST_F(CameraNodeUsersTest, TellsOfTheNextHolderOutOfSightAfterACloseThatNothingExplains) {
    tell(0, 1);
    openUnseenForLong();
    EXPECT_EQ(users(), somebodyUnseen());
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
}

TEST_F(CameraNodeUsersTest, TellsOfAHolderOutOfSightAfterEventsWereMerged) {
    open(7, 3);
    open(7, 4);
    map(7);
    tell(1, 0);
    time_.advanceBy(CameraNodeUsers::delay);
    openUnseenForLong();
    EXPECT_EQ(users(), somebodyUnseen({"/bin/7"}));
    close(7, 3);
    close(7, 4);
    tell(0, 1);
    EXPECT_EQ(users(), somebodyUnseen());
    time_.advanceBy(CameraNodeUsers::delay);
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, TakesAShortOpenOutOfSightForNoUse) {
    tell(1, 0);
    time_.advanceTo(0.5);
    tell(0, 1);
    tell(1, 1);
    time_.advanceTo(10);
    EXPECT_EQ(changes_, 0);
}

TEST_F(CameraNodeUsersTest, FindsADescriptorThatComesAnInstantAfterItsEvent) {
    tell(1, 0);
    open(7);
    map(7);
    time_.advanceTo(0.010);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    close(7);
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, LeavesNobodyBehindWhenTheKernelMergesEvents) {
    open(7, 3);
    open(7, 4);
    map(7);
    tell(1, 0);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    close(7, 3);
    close(7, 4);
    tell(0, 1);
    time_.advanceTo(10);
    EXPECT_EQ(users(), nobody);
}

TEST_F(CameraNodeUsersTest, LeavesNobodyBehindWhenADescriptorWasDuplicated) {
    open(7, 3);
    map(7);
    tell(1, 0);
    open(7, 4);
    close(7, 3);
    close(7, 4);
    tell(0, 1);
    time_.advanceTo(10);
    EXPECT_EQ(users(), nobody);
}

TEST_F(CameraNodeUsersTest, NoticesADescriptorThatWasHandedOn) {
    open(7);
    map(7);
    tell(1, 0);
    close(7);
    open(8);
    map(8);
    time_.advanceTo(2.0);
    EXPECT_EQ(users(), apps({"/bin/8"}));
}

TEST_F(CameraNodeUsersTest, TakesNoOpenTwiceThatWasSeenBeforeItWasTold) {
    open(7);
    map(7);
    tell(1, 0);
    // Closed and opened again before the close is told.
    tell(0, 1);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    tell(1, 0);
    close(7);
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    time_.advanceTo(10);
    EXPECT_EQ(users(), nobody);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, StillFindsSomebodyOutOfSightAfterACloseThatWasSeenAhead) {
    open(7);
    map(7);
    tell(1, 0);
    close(7);
    time_.advanceTo(2.0); // the look that makes sure sees it first
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    tell(1, 0); // by nobody in sight
    time_.advanceTo(4.0);
    EXPECT_EQ(users(), somebodyUnseen());
}

TEST_F(CameraNodeUsersTest, TellsOfAUserWhoWasThereFromTheStart) {
    CameraNodeUsers later(NodeHolders(folder_.path("proc"), 1),
                          {time_, naming_, [](pid_t) { return false; },
                           [] {
                           }});
    open(7);
    later.setNodes({*deviceNodeAt(node_)});
    EXPECT_EQ(later.users(node_), apps({"/bin/7"}));
}

TEST_F(CameraNodeUsersTest, ForgetsANodeThatIsGone) {
    open(7);
    map(7);
    tell(1, 0);
    nodeUsers_.setNodes({});
    EXPECT_EQ(users(), nobody);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, LooksAnewAfterEventsWereLost) {
    open(7);
    map(7);
    nodeUsers_.handleLostEvents();
    EXPECT_EQ(users(), apps({"/bin/7"}));
    close(7);
    nodeUsers_.handleLostEvents();
    EXPECT_EQ(users(), nobody);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, KeepsAUseOutOfSightWhenEventsAreLostUntilItsClose) {
    openUnseenForLong();
    nodeUsers_.handleLostEvents();
    EXPECT_EQ(users(), somebodyUnseen());
    // What comes into sight and goes meanwhile has its own events among the lost ones.
    open(7);
    map(7);
    nodeUsers_.handleLostEvents();
    EXPECT_EQ(users(), somebodyUnseen({"/bin/7"}));
    close(7);
    nodeUsers_.handleLostEvents();
    EXPECT_EQ(users(), somebodyUnseen());
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
    EXPECT_FALSE(time_.nextDue());
}

TEST_F(CameraNodeUsersTest, TellsOfAHolderOutOfSightThoughEventsAreLostWithinTheGrace) {
    tell(1, 0);
    time_.advanceTo(0.5);
    nodeUsers_.handleLostEvents();
    time_.advanceTo(1.0);
    EXPECT_EQ(users(), somebodyUnseen());
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
}

TEST_F(CameraNodeUsersTest, FindsTheDescriptorOfAnEventBeforeALoss) {
    tell(1, 0);
    open(7);
    map(7);
    nodeUsers_.handleLostEvents();
    time_.advanceTo(3.0);
    EXPECT_EQ(users(), apps({"/bin/7"}));
    close(7);
    tell(0, 1);
    EXPECT_EQ(users(), nobody);
}

TEST_F(CameraNodeUsersTest, ForgetsWhatWasSeenAheadWhenEventsAreLost) {
    use(7);
    open(7, 4);
    close(7, 3);
    tell(0, 1); // and the open is among the lost ones
    nodeUsers_.handleLostEvents();
    openUnseenForLong();
    EXPECT_EQ(users(), somebodyUnseen({"/bin/7"}));
}

TEST_F(CameraNodeUsersTest, PassesOverADescriptorThatOnlyNamesTheNode) {
    open(7);
    map(7);
    folder_.write(at(7) + "fdinfo/3", "pos:\t0\nflags:\t010000000\nmnt_id:\t25\n");
    tell(1, 0);
    EXPECT_EQ(users(), nobody);
}

TEST_F(CameraNodeUsersTest, PassesOverThisProgramItself) {
    open(1);
    map(1);
    tell(1, 0);
    EXPECT_EQ(users(), nobody);
}

} // namespace
} // namespace velmoran
