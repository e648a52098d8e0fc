#include "app/model/AwayOutlook.h"

#include "app/model/MemorySettings.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <memory>

namespace velmoran {
namespace {

struct SensedAngle final : LidAngle {
    explicit SensedAngle(std::optional<int> degrees) : degrees_(degrees) {}
    std::optional<int> read() override { return degrees_; }

private:
    std::optional<int> degrees_;
};

struct SensedMachine final : AwayReadings, ScreenLock {
    std::unique_ptr<LidAngle> openLidAngle() override {
        ++openings;
        return hasSensor ? std::make_unique<SensedAngle>(degrees) : nullptr;
    }
    bool tellsInput() override {
        ++questions;
        return input;
    }
    bool isAnnounced() override {
        ++questions;
        return lock;
    }
    Subscription onAnnouncerChange(std::function<void()> callback) override {
        return changes.subscribe(std::move(callback));
    }

    bool hasSensor = true;
    std::optional<int> degrees = 90;
    bool input = true;
    bool lock = true;
    int openings = 0;
    int questions = 0;
    Event<> changes;
};

struct AwayOutlookTest : ::testing::Test {
    ScriptedTime time;
    SensedMachine machine;
    MemorySettings memory;
    SettingsStore settings{memory};
    AwayOutlook outlook{machine, machine, settings, time};
};

TEST_F(AwayOutlookTest, TriesTheLidsSensorOnceARun) {
    outlook.start();
    EXPECT_EQ(machine.openings, 0) << "nobody has asked yet";
    EXPECT_TRUE(outlook.readsLid());
    machine.hasSensor = false;
    EXPECT_TRUE(outlook.readsLid());
    EXPECT_EQ(machine.openings, 1);
}

TEST_F(AwayOutlookTest, CountsASensorThatReadsNothingAsNone) {
    machine.degrees.reset();
    EXPECT_FALSE(outlook.readsLid());
    machine.degrees = 90;
    EXPECT_FALSE(outlook.readsLid()) << "the answer is kept";
    EXPECT_EQ(machine.openings, 1);
}

TEST_F(AwayOutlookTest, FollowsWhoAnnouncesTheLockFromItsFirstLookOn) {
    machine.lock = false;
    outlook.look();
    EXPECT_EQ(*outlook.gaps, (AwayGaps{.noLock = true, .noInput = false}));
    machine.lock = true;
    machine.input = false;
    machine.changes();
    EXPECT_TRUE(outlook.gaps->noLock) << "it may have been told on any thread";
    time.runPosted();
    EXPECT_EQ(*outlook.gaps, (AwayGaps{.noLock = false, .noInput = true}));
}

TEST_F(AwayOutlookTest, AsksNothingBeforeAWatchIsWanted) {
    machine.lock = machine.input = false;
    outlook.start();
    time.runPosted();
    EXPECT_EQ(machine.questions, 0);
    settings.awayWatchOnLock.set(true);
    EXPECT_EQ(*outlook.gaps, (AwayGaps{.noLock = true, .noInput = true}));
}

TEST_F(AwayOutlookTest, LooksSoonAfterAStartWithAWatchWanted) {
    settings.awayWatchOnLock.set(true);
    machine.lock = false;
    outlook.start();
    EXPECT_EQ(machine.questions, 0);
    time.runPosted();
    EXPECT_TRUE(outlook.gaps->noLock);
}

} // namespace
} // namespace velmoran
