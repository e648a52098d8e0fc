// The away watch of a whole model, from the lock of the screen to the report.
#include "tests/app/model/AwayFixture.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::appRef;
using testing::AwayFixture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Signal = AwaySignal::Kind;
using Titles = std::vector<std::string>;

struct AwayDrivingTest : AwayFixture {};

TEST_F(AwayDrivingTest, TellsWhatHappenedWhileTheScreenWasLocked) {
    launchWatching();
    lockAt(10);
    EXPECT_TRUE(*model->awayWatchOn);
    signalAt(20, Signal::keyboardUsed);
    signalAt(21, Signal::mouseUsed);
    signalAt(30, Signal::lidMoved);
    signalAt(40, Signal::devicePluggedIn, "SanDisk Ultra");
    signal(Signal::devicePluggedIn);
    signalAt(50, Signal::powerRemoved);
    signalAt(96, Signal::keyboardUsed);
    EXPECT_THAT(shown.reports, IsEmpty());
    unlockAt(100);
    EXPECT_FALSE(*model->awayWatchOn);

    ASSERT_THAT(shown.reports, SizeIs(1));
    const auto& report = shown.reports.front();
    EXPECT_EQ(report.start, beginning + 10);
    EXPECT_EQ(report.end, beginning + 100);
    EXPECT_THAT(titlesOf(report.events),
                ElementsAre("Keyboard used", "Mouse or trackpad used", "Lid moved from 12° to 47°",
                            "Device plugged in: SanDisk Ultra", "Device plugged in",
                            "Power cable removed"));
    EXPECT_THAT(titlesOf(report.ownReturn), ElementsAre("Keyboard used"));
    EXPECT_EQ(report.events[2].time, beginning + 30);
    EXPECT_EQ(stored(), shown.reports);
    EXPECT_EQ(listed(), shown.reports);
}

TEST_F(AwayDrivingTest, MapsEverySignalToTheKindOfItsName) {
    launchWatching();
    lock();
    for (const auto name : caseNames(Signal())) {
        signal(*caseNamed<Signal>(name), "Name");
    }
    const auto events = stored().at(0).events;
    std::size_t at = 0;
    for (const auto name : caseNames(Signal())) {
        if (name == "wentToSleep") {
            continue;
        }
        ASSERT_LT(at, events.size());
        EXPECT_EQ(rawValue(events[at].kind), name);
        const auto detail = name == "lidMoved"          ? std::optional<std::string>("12 47")
                            : name == "devicePluggedIn" ? std::optional<std::string>("Name")
                                                        : std::nullopt;
        EXPECT_EQ(events[at].detail, detail);
        ++at;
    }
    EXPECT_EQ(at, events.size());
    EXPECT_TRUE(stored().at(0).slept);
}

TEST_F(AwayDrivingTest, StoresTheReportAfterEachEvent) {
    launchWatching();
    lock();
    ASSERT_THAT(stored(), SizeIs(1));
    EXPECT_TRUE(stored()[0].isEmpty());
    EXPECT_EQ(stored()[0].end, std::nullopt);
    signalAt(1, Signal::lidOpened);
    EXPECT_THAT(stored().at(0).events, SizeIs(1));
    signalAt(1.5, Signal::lidOpened); // a repeat
    EXPECT_THAT(stored().at(0).events, SizeIs(1));
    signalAt(2, Signal::wentToSleep);
    EXPECT_TRUE(stored().at(0).slept);
    signalAt(3, Signal::lidClosed);
    EXPECT_THAT(stored(), SizeIs(1));
    EXPECT_THAT(stored()[0].events, SizeIs(2));
    EXPECT_THAT(shown.reports, IsEmpty());
}

TEST_F(AwayDrivingTest, ForgetsAReportOfTheUsersOwnReturn) {
    launchWatching();
    lock();
    signalAt(20, Signal::wentToSleep);
    signalAt(95, Signal::wokeUp);
    signalAt(96, Signal::lidOpened);
    signalAt(97, Signal::mouseUsed);
    signalAt(98, Signal::keyboardUsed);
    EXPECT_THAT(stored(), SizeIs(1));
    const int before = changes;
    unlockAt(100);
    EXPECT_THAT(stored(), IsEmpty());
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_THAT(shown.reports, IsEmpty());
    EXPECT_GT(changes, before);
    EXPECT_FALSE(*model->awayWatchOn);
}

TEST_F(AwayDrivingTest, CountsTheOwnReturnIfTheUserWantsThat) {
    launchWatching();
    lock();
    signalAt(98, Signal::keyboardUsed);
    model->settings.ignoreOwnReturn.set(false);
    unlockAt(100);
    ASSERT_THAT(shown.reports, SizeIs(1));
    EXPECT_THAT(titlesOf(shown.reports[0].events), ElementsAre("Keyboard used"));
    EXPECT_THAT(shown.reports[0].ownReturn, IsEmpty());
}

TEST_F(AwayDrivingTest, DoesNothingUnlessTheUserWantsIt) {
    settings.setBoolean("awayWatchOnLock", false);
    launchWatching();
    const auto due = time.nextDue();
    const int before = changes;
    lock();
    signal(Signal::keyboardUsed);
    EXPECT_EQ(time.nextDue(), due) << "nothing wakes up";
    EXPECT_EQ(changes, before);
    receive(camera({appRef("Zoom")}));
    unlock();
    EXPECT_FALSE(*model->awayWatchOn);
    EXPECT_THAT(stored(), IsEmpty());
    EXPECT_THAT(shown.reports, IsEmpty());
    EXPECT_EQ(titles(), Titles{"Zoom turned on the camera"});
}

TEST_F(AwayDrivingTest, DoesNotBeginInTheMiddleOfALock) {
    settings.setBoolean("awayWatchOnLock", false);
    launchWatching();
    lock();
    model->settings.awayWatchOnLock.set(true);
    signal(Signal::keyboardUsed);
    unlock();
    EXPECT_THAT(stored(), IsEmpty());
    lock();
    EXPECT_TRUE(*model->awayWatchOn);
    model->settings.awayWatchOnLock.set(false);
    signal(Signal::lidClosed);
    unlock();
    EXPECT_THAT(shown.reports, SizeIs(1)) << "what has begun is brought to its end";
}

TEST_F(AwayDrivingTest, StartsNoWatchOnAScreenThatIsLockedAlready) {
    machine.screenLock().lock();
    launchWatching();
    EXPECT_FALSE(*model->awayWatchOn);
    signal(Signal::keyboardUsed);
    unlock();
    EXPECT_THAT(stored(), IsEmpty());
    EXPECT_THAT(shown.reports, IsEmpty());
}

TEST_F(AwayDrivingTest, BeginsOneWatchHoweverOftenItHearsOfTheLock) {
    launchWatching();
    for (int i = 0; i < 1000; ++i) {
        machine.screenLock().lock();
    }
    time.runPosted();
    signalAt(1, Signal::lidClosed);
    lock();
    signalAt(5, Signal::powerRemoved);
    ASSERT_THAT(stored(), SizeIs(1));
    EXPECT_THAT(stored()[0].events, SizeIs(2));
    for (int i = 0; i < 1000; ++i) {
        machine.screenLock().unlock();
    }
    time.runPosted();
    EXPECT_THAT(shown.reports, SizeIs(1));
    EXPECT_THAT(stored(), SizeIs(1));
}

TEST_F(AwayDrivingTest, HearsNothingAfterTheUnlock) {
    launchWatching();
    const auto due = time.nextDue();
    lock();
    EXPECT_NE(time.nextDue(), due);
    signal(Signal::lidClosed);
    machine.away().announce({.kind = Signal::wokeUp, .from = 0, .to = 0, .name = {}});
    machine.screenLock().unlock();
    machine.away().announce({.kind = Signal::powerRemoved, .from = 0, .to = 0, .name = {}});
    time.runPosted();
    EXPECT_EQ(time.nextDue(), due);
    signal(Signal::lidOpened);
    ASSERT_THAT(shown.reports, SizeIs(1));
    EXPECT_THAT(titlesOf(shown.reports[0].events), ElementsAre("Lid closed"));
    EXPECT_THAT(titlesOf(shown.reports[0].ownReturn), ElementsAre("Mac woke up"));
    EXPECT_EQ(stored(), shown.reports);
}

// MARK: - Use of the camera and the microphone

TEST_F(AwayDrivingTest, WarnsOfTrustedAppsToo) {
    launchWatching();
    const AppIdentity zoom = {
        .id = "org.example.Zoom", .name = "Zoom", .bundleID = {}, .path = {}, .teamID = {}};
    model->setTrusted(true, zoom, {Device::camera, Device::microphone});
    lock();
    time.advanceTo(5);
    auto both = camera({appRef("Zoom")});
    both.microphoneOn = true;
    both.microphoneApps = {appRef("Meet")};
    receive(both);
    EXPECT_EQ(titles(), (Titles{"Zoom turned on the camera while you were away",
                                "Meet turned on the microphone while you were away"}));
    EXPECT_EQ(sounds, 2);
    ASSERT_THAT(stored(), SizeIs(1));
    EXPECT_TRUE(stored()[0].hasDeviceUse());
    EXPECT_THAT(titlesOf(stored()[0].events),
                ElementsAre("Zoom turned on the camera", "Meet turned on the microphone"));
    receive({});
    unlockAt(20);
    EXPECT_THAT(shown.reports, SizeIs(1));
    receive(camera({appRef("Zoom")}));
    EXPECT_THAT(stored().at(0).events, SizeIs(2)) << "nobody is away any more";
}

TEST_F(AwayDrivingTest, NotesWhoItWasOnceThatIsKnown) {
    launchWatching();
    lock();
    receive(camera({}));
    time.advanceBy(2);
    EXPECT_THAT(titlesOf(stored().at(0).events), ElementsAre("Unknown app turned on the camera"));
    receive(camera({appRef("Spy")}));
    EXPECT_THAT(titlesOf(stored().at(0).events),
                ElementsAre("Unknown app turned on the camera", "Spy turned on the camera"));
}

TEST_F(AwayDrivingTest, NotesNoUseThatIsNotTold) {
    settings.setBoolean("monitorSpeakerUse", true);
    launch();
    receive(camera({appRef("Zoom")})); // on since before the start
    lock();
    auto sound = camera({appRef("Zoom")});
    sound.speakerOn = true;
    sound.speakerApps = {appRef("Music")};
    receive(sound);
    EXPECT_TRUE(stored().at(0).isEmpty());
}

TEST_F(AwayDrivingTest, ShowsThatItIsOn) {
    launchWatching();
    std::vector<bool> states;
    subscriptions.push_back(model->awayWatchOn.subscribe([&](bool on) { states.push_back(on); }));
    std::vector<StatusIconState> icons;
    subscriptions.push_back(
        model->onChange.subscribe([&] { icons.push_back(model->statusIconState()); }));
    lock();
    unlock();
    EXPECT_THAT(states, ElementsAre(true, false));
    EXPECT_THAT(icons, ElementsAre(StatusIconState::awayWatch, StatusIconState::idle));
}

// MARK: - Somebody sets the clock

TEST_F(AwayDrivingTest, GoesOnWhenTheClockIsSetBack) {
    launchWatching();
    lock();
    signalAt(10, Signal::keyboardUsed);
    time.setClock(beginning - 3600);
    signal(Signal::keyboardUsed); // that is when it is noticed
    signalAt(30, Signal::keyboardUsed);
    signalAt(80, Signal::keyboardUsed);
    signalAt(80, Signal::lidOpened);
    signalAt(81, Signal::lidOpened);
    signalAt(150, Signal::keyboardUsed);
    signalAt(165, Signal::keyboardUsed);
    unlockAt(170);
    ASSERT_THAT(shown.reports, SizeIs(1));
    const auto& report = shown.reports[0];
    std::vector<Seconds> times;
    for (const auto& event : report.events) {
        times.push_back(event.time - report.start);
    }
    EXPECT_THAT(times, ElementsAre(10, 80, 80, 150)) << "grouped by what has passed";
    EXPECT_THAT(report.ownReturn, IsEmpty());
    EXPECT_EQ(*report.end - report.start, 170);
}

TEST_F(AwayDrivingTest, TakesNoHourForTheLastSeconds) {
    launchWatching();
    lock();
    time.setClock(beginning - 3600);
    signalAt(100, Signal::keyboardUsed);
    signalAt(1000, Signal::keyboardUsed);
    unlockAt(1005);
    ASSERT_THAT(shown.reports, SizeIs(1));
    EXPECT_THAT(shown.reports[0].events, SizeIs(1));
    EXPECT_THAT(shown.reports[0].ownReturn, SizeIs(1));
}

TEST_F(AwayDrivingTest, FollowsAClockThatIsSetForward) {
    launchWatching();
    lock();
    signalAt(10, Signal::keyboardUsed);
    time.setClock(beginning + 36000); // as after a sleep
    signalAt(20, Signal::keyboardUsed);
    unlockAt(100);
    ASSERT_THAT(shown.reports, SizeIs(1));
    EXPECT_THAT(shown.reports[0].events, SizeIs(2));
    EXPECT_EQ(shown.reports[0].end, time.now());
}

} // namespace
} // namespace velmoran
