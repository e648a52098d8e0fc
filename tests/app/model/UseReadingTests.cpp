// A reading alone, without a model around it.
#include "app/model/MemorySettings.h"
#include "app/model/UseReading.h"
#include "system/scripted/ScriptedMachine.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using Names = std::vector<std::string>;

AppRef ref(const std::string& name) {
    return {.name = name, .bundleID = "org.example." + name, .path = "/Applications/" + name};
}

const AppRef aHelper{.name = "helper", .bundleID = {}, .path = "/usr/libexec/helper"};
const AppRef aListener{.name = "listener", .bundleID = {}, .path = "/usr/libexec/listener"};

struct UseReadingTest : ::testing::Test {
    ScriptedMachine machine;
    MemorySettings stored;
    SettingsStore settings{stored};
    UseReading reading{machine, settings};

    UseReadingTest() {
        machine.script.signingIDs = {{"/usr/libexec/helper", "com.apple.avconferenced"},
                                     {"/usr/libexec/listener", "com.apple.corespeechd"}};
    }

    UseReading::Found microphone(const std::vector<AppRef>& apps, double now,
                                 const std::vector<AppRef>& attributed = {}) {
        SystemSnapshot snapshot;
        snapshot.microphoneOn = true;
        snapshot.microphoneApps = apps;
        snapshot.microphoneAttributed = attributed;
        return reading.read(snapshot, {now});
    }

    static Names names(const std::vector<AppIdentity>& apps) {
        Names result;
        for (const auto& app : apps) {
            result.push_back(app.name);
        }
        return result;
    }
    static Names users(const UseReading::Found& found, Device device = Device::microphone) {
        return names(found.uses.at(device).apps);
    }
    static bool isOn(const UseReading::Found& found, Device device = Device::microphone) {
        return found.uses.at(device).isOn;
    }
};

TEST_F(UseReadingTest, SaysOfEachDeviceWhetherItIsOnAndWhoUsesIt) {
    settings.monitorSpeakerUse.set(true);
    SystemSnapshot snapshot;
    snapshot.cameraOn = snapshot.microphoneOn = snapshot.speakerOn = true;
    snapshot.cameraApps = {ref("Zoom")};
    snapshot.microphoneApps = {ref("Meet"), ref("Zoom")};
    snapshot.speakerApps = {ref("Music")};
    const auto found = reading.read(snapshot, {0});
    EXPECT_EQ(users(found, Device::camera), (Names{"Zoom"}));
    EXPECT_EQ(users(found, Device::microphone), (Names{"Meet", "Zoom"}));
    EXPECT_EQ(users(found, Device::speaker), (Names{"Music"}));
    for (const auto device : allDevices) {
        EXPECT_TRUE(isOn(found, device));
    }
    settings.monitorSpeakerUse.set(false);
    EXPECT_FALSE(isOn(reading.read(snapshot, {0}), Device::speaker));
    for (const auto device : allDevices) {
        EXPECT_FALSE(isOn(reading.read({}, {0}), device));
    }
}

TEST_F(UseReadingTest, LeavesTheSystemsOwnListeningOutAsTheSettingSays) {
    EXPECT_FALSE(isOn(microphone({aListener}, 0)));
    EXPECT_EQ(users(microphone({aListener, ref("Zoom")}, 0)), (Names{"Zoom"}));
    settings.ignoreSystemListening.set(false);
    EXPECT_EQ(users(microphone({aListener, ref("Zoom")}, 0)), (Names{"listener", "Zoom"}));
}

TEST_F(UseReadingTest, WaitsASecondForWhomAHelperWorks) {
    auto found = microphone({aHelper}, 10);
    EXPECT_FALSE(isOn(found));
    EXPECT_TRUE(found.wait);
    found = microphone({aHelper, ref("Zoom")}, 10.9);
    EXPECT_EQ(users(found), (Names{"Zoom"}));
    EXPECT_TRUE(found.wait);
    found = microphone({aHelper}, 11);
    EXPECT_EQ(users(found), (Names{"helper"}));
    EXPECT_FALSE(found.wait);
    EXPECT_TRUE(found.replacedHelpers.empty());
}

TEST_F(UseReadingTest, PutsTheOwnerInTheHelpersPlaceOnSpeakersToo) {
    settings.monitorSpeakerUse.set(true);
    SystemSnapshot snapshot;
    snapshot.microphoneOn = snapshot.speakerOn = true;
    snapshot.microphoneApps = snapshot.speakerApps = {aHelper};
    snapshot.microphoneAttributed = {ref("Call")};
    const auto found = reading.read(snapshot, {0});
    EXPECT_EQ(users(found), (Names{"Call"}));
    EXPECT_EQ(users(found, Device::speaker), (Names{"Call"}));
    EXPECT_EQ(names(found.replacedHelpers), (Names{"helper"}));
    EXPECT_FALSE(found.wait);
}

TEST_F(UseReadingTest, CountsTheWaitAnewAfterAnOwnerWasKnown) {
    microphone({aHelper}, 0);
    microphone({aHelper}, 0.5, {ref("Call")});
    EXPECT_TRUE(microphone({aHelper}, 5).wait);
    EXPECT_TRUE(microphone({aHelper}, 5.9).wait);
    EXPECT_FALSE(microphone({aHelper}, 6).wait);
}

TEST_F(UseReadingTest, AddsUpTheWaitOverTheSpellsOfAHelper) {
    double now = 0;
    for (int spell = 0; spell < 3; ++spell) {
        EXPECT_FALSE(isOn(microphone({aHelper}, now)));
        EXPECT_FALSE(isOn(reading.read({}, {now + 0.3})));
        now += 30;
    }
    EXPECT_NEAR(microphone({aHelper}, now).wait.value(), 0.1, 1e-6);
    EXPECT_EQ(users(microphone({aHelper}, now + 0.11)), (Names{"helper"}));
    reading.read({}, {now + 0.2});
    EXPECT_EQ(users(microphone({aHelper}, now + 60)), (Names{"helper"})) << "and at once from then";
    microphone({aHelper}, now + 61, {ref("Call")});
    EXPECT_TRUE(microphone({aHelper}, now + 62).wait) << "until somebody is known";
}

TEST_F(UseReadingTest, ForgetsTheSpellsOfAHelperThatStaysAway) {
    microphone({aHelper}, 0);
    reading.read({}, {0.9});
    reading.read({}, {0.9 + UseReading::spellMemory});
    EXPECT_NEAR(microphone({aHelper}, 61).wait.value(), 1, 1e-6);
}

TEST_F(UseReadingTest, WaitsOnceASpellHoweverManyHelpersCome) {
    machine.script.signingIDs["/usr/libexec/second"] = "com.apple.replayd";
    const AppRef second{.name = "second", .bundleID = {}, .path = "/usr/libexec/second"};
    microphone({aHelper}, 0);
    EXPECT_FALSE(isOn(microphone({aHelper, second}, 0.7)));
    EXPECT_EQ(users(microphone({aHelper, second}, 1)), (Names{"helper", "second"}));
    reading.read({}, {1.1});
    EXPECT_EQ(users(microphone({aHelper, second}, 2)), (Names{"helper"}))
        << "the second's own spells don't make a second yet";
}

TEST_F(UseReadingTest, RemembersWhomItHasNamedAsTheyWereFirst) {
    machine.script.teamIDs = {{"/Applications/Zoom", "Z1"}};
    EXPECT_EQ(reading.seenApp("org.example.Zoom"), std::nullopt);
    microphone({ref("Zoom")}, 0);
    machine.script.teamIDs.clear();
    auto renamed = ref("Zoom");
    renamed.name = "Other";
    microphone({renamed}, 1);
    const auto seen = reading.seenApp("org.example.Zoom");
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->name, "Zoom");
    EXPECT_EQ(seen->teamID, "Z1");
}

TEST_F(UseReadingTest, AsksTheMachineForARoleAndNotForItsKind) {
    machine.script.platform = Platform::linux;
    EXPECT_EQ(users(microphone({aListener, aHelper}, 0)), (Names{"listener", "helper"}))
        << "the Mac's helpers are none there";
}

} // namespace
} // namespace velmoran
