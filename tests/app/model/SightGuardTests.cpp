#include "tests/app/model/ModelFixture.h"

namespace velmoran {
namespace {

using testing::appRef;

const std::string sightTakenTitle = "Something is hiding the microphone from Velmoran";

struct SightGuardTest : testing::ModelFixture {
    void take(Seconds later) {
        time.advanceBy(later);
        machine.takeSight();
        time.runPosted();
    }
};

TEST_F(SightGuardTest, NotesWhenTheSightWasTaken) {
    launchWatching();
    EXPECT_EQ(*model->sightTaken, std::nullopt);
    take(5);
    EXPECT_EQ(*model->sightTaken, time.now());
    EXPECT_TRUE(model->notices.items().empty());
    EXPECT_EQ(sounds, 0);
}

TEST_F(SightGuardTest, NotesLossesInCloseSuccessionAsOne) {
    launchWatching();
    take(1);
    const auto first = time.now();
    take(0.05);
    EXPECT_EQ(*model->sightTaken, first);
    take(0.06);
    EXPECT_EQ(*model->sightTaken, time.now());
}

TEST_F(SightGuardTest, TellsLossesWhileTheClockStands) {
    launchWatching();
    const auto beginning = time.now();
    std::vector<Timestamp> told;
    const auto losses = model->sightTaken.subscribe([&](const auto& taken) {
        if (taken) {
            told.push_back(*taken);
        }
    });
    take(1);
    time.setClock(beginning - 3600);
    EXPECT_EQ(model->clock().now(), beginning + 1) << "read now, as others do all the time";
    take(1);
    take(0.05);
    EXPECT_EQ(told, (std::vector<Timestamp>{beginning + 1, beginning + 1})) << "it never runs back";
}

TEST_F(SightGuardTest, CountsNoOldLossesAfterTheClockWasSetBack) {
    launchWatching();
    take(0);
    take(1);
    time.setClock(time.now() - 3600);
    EXPECT_GT(model->clock().now(), time.now()) << "read now, as others do all the time";
    take(61);
    EXPECT_TRUE(model->notices.items().empty());
    take(1);
    take(1);
    EXPECT_EQ(titles(), (std::vector<std::string>{sightTakenTitle}));
}

TEST_F(SightGuardTest, WarnsTheThirdTimeWithinAMinute) {
    launchWatching();
    take(0);
    take(30);
    EXPECT_TRUE(model->notices.items().empty());
    take(29);
    ASSERT_EQ(titles(), (std::vector<std::string>{sightTakenTitle}));
    const auto& card = model->notices.items().front();
    EXPECT_TRUE(card.isStrong);
    EXPECT_EQ(card.autoHideAfter, std::nullopt);
    EXPECT_EQ(sounds, 1);
    EXPECT_EQ(model->statusIconState(), StatusIconState::alert);
}

TEST_F(SightGuardTest, DoesNotWarnOfWhatIsRarer) {
    launchWatching();
    for (int times = 0; times < 5; ++times) {
        take(30);
    }
    EXPECT_TRUE(model->notices.items().empty()) << "never three within a minute";
}

TEST_F(SightGuardTest, ShowsOneCardForAsLongAsItStands) {
    launchWatching();
    for (int times = 0; times < 20; ++times) {
        take(1);
    }
    EXPECT_EQ(titles().size(), 1U);
    EXPECT_EQ(sounds, 1);
    press("This was me");
    EXPECT_TRUE(model->notices.items().empty());
    take(1);
    take(1);
    EXPECT_TRUE(model->notices.items().empty()) << "it counts anew";
    take(1);
    EXPECT_EQ(titles().size(), 1U);
}

TEST_F(SightGuardTest, PlaysNoSoundThatIsTurnedOff) {
    launchWatching();
    model->settings.warningSoundOn.set(false);
    for (int times = 0; times < 3; ++times) {
        take(1);
    }
    EXPECT_EQ(titles().size(), 1U);
    EXPECT_EQ(sounds, 0);
}

TEST_F(SightGuardTest, StopsEverythingFromItsCard) {
    launchWatching();
    receive(microphone({appRef("Spy")}));
    for (int times = 0; times < 3; ++times) {
        take(1);
    }
    ASSERT_EQ(titles().back(), sightTakenTitle);
    press("Stop");
    EXPECT_TRUE(*model->isStopping);
    time.advanceBy(1);
    EXPECT_EQ(titles().back(), "Microphone muted. Spy was closed.");
    for (const auto& title : titles()) {
        EXPECT_NE(title, sightTakenTitle);
    }
}

} // namespace
} // namespace velmoran
