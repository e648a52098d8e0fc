#include "system/SystemMonitor.h"

#include "tests/support/FakeReadings.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::FakeReadings;
using Interface = ListenerAddress::Interface;

struct SystemMonitorTest : ::testing::Test {
    FakeReadings machine;
    std::vector<SystemSnapshot> seen;
    SystemMonitor monitor{machine.readings()};

    void start() {
        monitor.start([this](const SystemSnapshot& snapshot) { seen.push_back(snapshot); });
        machine.queue.run();
    }

    /// Without those of the system's own two objects, which come first.
    std::vector<ListenerAddress> ofObjects() const {
        return {machine.listeners.addresses.begin() + 4, machine.listeners.addresses.end()};
    }

    AudioProcess recorder() {
        machine.names.byPid[10] = {.name = "Recorder", .bundleID = "org.example.rec", .path = {}};
        return {.objectID = 50,
                .pid = 10,
                .bundleID = {},
                .isRunningInput = true,
                .isRunningOutput = false};
    }
};

TEST_F(SystemMonitorTest, DeliversOnceWithEverythingOffAndThenOnlyChanges) {
    machine.outputs.output = OutputDeviceInfo{
        .objectID = 3, .name = "Speakers", .kind = {}, .volume = 0.5F, .isMuted = false};
    start();
    ASSERT_EQ(seen.size(), 1U);
    auto expected = SystemSnapshot::empty();
    expected.output = machine.outputs.output;
    EXPECT_EQ(seen.front(), expected);
    machine.queue.pass(10);
    EXPECT_EQ(seen.size(), 1U);
}

TEST_F(SystemMonitorTest, DeliversWhatCannotBeSeenAndWhenNobodyLooked) {
    std::vector<Device> hidden;
    std::optional<WatchGap> gap;
    int looks = 0;
    auto readings = machine.readings();
    readings.unwatched = [&] {
        return hidden;
    };
    readings.lastGap = [&] {
        ++looks;
        return gap;
    };
    SystemMonitor blind{readings};
    blind.start([this](const SystemSnapshot& snapshot) { seen.push_back(snapshot); });
    machine.queue.run();
    hidden = {Device::microphone};
    machine.queue.pass(2);
    gap = WatchGap{Timestamp{10}, Timestamp{20}};
    machine.queue.pass(2);
    ASSERT_EQ(seen.size(), 3U);
    EXPECT_TRUE(seen[0].unwatched.empty());
    EXPECT_EQ(seen[1].unwatched, hidden);
    EXPECT_EQ(seen[2].lastGap, gap);
    EXPECT_EQ(looks, 3);
}

TEST_F(SystemMonitorTest, DoesNothingOnTheCallersThread) {
    monitor.start([this](const SystemSnapshot& snapshot) { seen.push_back(snapshot); });
    EXPECT_TRUE(seen.empty());
    EXPECT_TRUE(machine.listeners.addresses.empty());
    EXPECT_EQ(machine.attribution.starts, 0);
}

TEST_F(SystemMonitorTest, SeesAChangeAtThePollTwoSecondsLater) {
    start();
    machine.audio.processList = {recorder()};
    machine.queue.pass(1.9);
    EXPECT_EQ(seen.size(), 1U);
    machine.queue.pass(0.1);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_TRUE(seen.back().microphoneOn);
}

TEST_F(SystemMonitorTest, SeesAChangeAtOnceWhenAnyListenerSpeaks) {
    start();
    ASSERT_EQ(machine.listeners.callbacks.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        machine.cameras.deviceList = {{1, "Cam " + std::to_string(i), true}};
        machine.listeners.callbacks[i]();
        EXPECT_EQ(seen.size(), i + 2);
    }
}

TEST_F(SystemMonitorTest, ListensToTheSystemObjectsInTheirOrder) {
    start();
    const std::vector<ListenerAddress> expected = {{Interface::audio, 1, "prs#"},
                                                   {Interface::audio, 1, "dev#"},
                                                   {Interface::audio, 1, "dOut"},
                                                   {Interface::camera, 1, "dev#"}};
    EXPECT_EQ(machine.listeners.addresses, expected);
}

TEST_F(SystemMonitorTest, GivesANewObjectItsListenersOnce) {
    start();
    machine.audio.processList = {recorder()};
    machine.audio.deviceList = {{60, "Mic", true, false, true}};
    machine.cameras.deviceList = {{70, "Cam", false}};
    machine.queue.pass(2);
    const std::vector<ListenerAddress> expected = {{Interface::audio, 50, "piri"},
                                                   {Interface::audio, 50, "piro"},
                                                   {Interface::audio, 60, "gone"},
                                                   {Interface::camera, 70, "gone"}};
    EXPECT_THAT(ofObjects(), ::testing::UnorderedElementsAreArray(expected));
    machine.audio.processList.clear();
    machine.queue.pass(2);
    machine.audio.processList = {recorder()};
    machine.queue.pass(2);
    EXPECT_EQ(ofObjects().size(), 4U);
}

TEST_F(SystemMonitorTest, SeesAChangeAtOnceWhenAnObjectsListenerSpeaks) {
    start();
    machine.audio.processList = {recorder()};
    machine.audio.deviceList = {{60, "Mic", true, false, true}};
    machine.cameras.deviceList = {{70, "Cam", false}};
    machine.queue.pass(2);
    ASSERT_EQ(machine.listeners.callbacks.size(), 8U);
    for (std::size_t i = 4; i < 8; ++i) {
        const auto before = seen.size();
        machine.cameras.deviceList = {{70, "Cam " + std::to_string(i), true}};
        machine.listeners.callbacks[i]();
        EXPECT_EQ(seen.size(), before + 1) << i;
    }
}

TEST_F(SystemMonitorTest, DeliversAChangeOfVolumeAlone) {
    machine.outputs.output = OutputDeviceInfo{
        .objectID = 3, .name = "Speakers", .kind = {}, .volume = 0.5F, .isMuted = false};
    start();
    machine.outputs.output->volume = 0.6F;
    machine.queue.pass(2);
    EXPECT_EQ(seen.size(), 2U);
}

TEST_F(SystemMonitorTest, DeliversTheSameAppsInAnotherOrder) {
    machine.names.byPid[11] = {.name = "Other", .bundleID = "org.example.other", .path = {}};
    auto other = recorder();
    other.objectID = 51;
    other.pid = 11;
    machine.audio.processList = {recorder(), other};
    start();
    std::swap(machine.audio.processList[0], machine.audio.processList[1]);
    machine.queue.pass(2);
    EXPECT_EQ(seen.size(), 2U);
}

TEST_F(SystemMonitorTest, ReplacesOnlyTheHandlerAtASecondStart) {
    start();
    std::vector<SystemSnapshot> second;
    monitor.start([&](const SystemSnapshot& snapshot) { second.push_back(snapshot); });
    machine.queue.run();
    EXPECT_EQ(machine.listeners.addresses.size(), 4U);
    EXPECT_EQ(machine.queue.timers(), 1U);
    EXPECT_EQ(machine.attribution.starts, 1);
    EXPECT_TRUE(second.empty());
    machine.audio.processList = {recorder()};
    machine.queue.pass(2);
    EXPECT_EQ(second.size(), 1U);
    EXPECT_EQ(seen.size(), 1U);
}

TEST_F(SystemMonitorTest, TakesEachAttributionReportToItsQueue) {
    machine.cameras.deviceList = {{70, "Cam", true}};
    start();
    ASSERT_TRUE(seen.back().cameraApps.empty());
    machine.attribution.receiver({{"cam", {"org.example.meet"}}});
    EXPECT_TRUE(seen.back().cameraApps.empty());
    machine.queue.run();
    ASSERT_EQ(seen.back().cameraApps.size(), 1U);
    EXPECT_EQ(seen.back().cameraApps.front().id(), "org.example.meet");
    machine.attribution.receiver({});
    machine.queue.run();
    EXPECT_TRUE(seen.back().cameraApps.empty());
}

TEST_F(SystemMonitorTest, NamesInItsFirstSnapshotWhoIsReportedWithinTheStart) {
    machine.cameras.deviceList = {{70, "Cam", true}};
    machine.attribution.atStart = AttributionTable{{"cam", {"org.example.meet"}}};
    start();
    ASSERT_EQ(seen.size(), 1U);
    ASSERT_EQ(seen.front().cameraApps.size(), 1U);
}

TEST_F(SystemMonitorTest, EndsItsTimerAndItsHandlerForGoodWhenStopped) {
    start();
    monitor.stop();
    EXPECT_EQ(machine.attribution.stops, 1);
    machine.queue.run();
    EXPECT_EQ(machine.queue.timers(), 0U);
    machine.audio.processList = {recorder()};
    machine.listeners.callbacks.front()();
    EXPECT_EQ(seen.size(), 1U);
    start();
    EXPECT_EQ(machine.queue.timers(), 0U);
    EXPECT_EQ(seen.size(), 1U);
    // The surviving listeners alone drive it now.
    machine.cameras.deviceList = {{70, "Cam", true}};
    machine.listeners.callbacks.front()();
    EXPECT_EQ(seen.size(), 2U);
}

} // namespace
} // namespace velmoran
