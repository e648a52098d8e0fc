#include "system/MicrophoneMute.h"

#include <gtest/gtest.h>
#include <set>

namespace velmoran {
namespace {

struct FakeInputs final : InputControls {
    struct Device {
        bool hasSwitch = false;
        bool switchFails = false;
        bool muted = false;
        std::map<int, float> volumes;
        bool volumeFails = false;
    };
    std::vector<Input> list;
    std::map<std::uint32_t, Device> devices;
    std::vector<std::string> writes;

    Device& add(std::uint32_t id, const std::string& name) {
        list.push_back({id, name});
        return devices[id];
    }

    std::vector<Input> inputs() override { return list; }
    bool setMuteSwitch(std::uint32_t id, bool muted) override {
        auto& device = devices[id];
        if (!device.hasSwitch || device.switchFails) {
            return false;
        }
        device.muted = muted;
        return true;
    }
    int volumeElements() const override { return 3; }
    std::optional<float> settableVolume(std::uint32_t id, int element) override {
        const auto& volumes = devices[id].volumes;
        const auto found = volumes.find(element);
        return found == volumes.end() ? std::nullopt : std::optional(found->second);
    }
    bool setVolume(std::uint32_t id, int element, float volume) override {
        if (devices[id].volumeFails) {
            return false;
        }
        devices[id].volumes[element] = volume;
        return true;
    }
};

struct MicrophoneMuteTest : ::testing::Test {
    FakeInputs inputs;
    MicrophoneMute mute{inputs};
};

TEST_F(MicrophoneMuteTest, HasNothingToDoWithoutADevice) {
    EXPECT_EQ(mute.setMuted(true), (MuteOutcome{0, {}}));
}

TEST_F(MicrophoneMuteTest, TakesTheSwitchAndLeavesTheVolume) {
    auto& device = inputs.add(1, "Mic");
    device.hasSwitch = true;
    device.volumes = {{0, 0.7F}};
    EXPECT_EQ(mute.setMuted(true), (MuteOutcome{1, {}}));
    EXPECT_TRUE(inputs.devices[1].muted);
    EXPECT_EQ(inputs.devices[1].volumes[0], 0.7F);
    EXPECT_EQ(mute.setMuted(false), (MuteOutcome{1, {}}));
    EXPECT_FALSE(inputs.devices[1].muted);
}

TEST_F(MicrophoneMuteTest, TakesTheVolumeWhereTheSwitchDoesNotWork) {
    auto& device = inputs.add(1, "Mic");
    device.hasSwitch = true;
    device.switchFails = true;
    device.volumes = {{0, 0.7F}};
    EXPECT_EQ(mute.setMuted(true), (MuteOutcome{1, {}}));
    EXPECT_EQ(inputs.devices[1].volumes[0], 0.0F);
}

TEST_F(MicrophoneMuteTest, RemembersTheVolumeThroughRepeatedMutes) {
    inputs.add(1, "Mic").volumes = {{0, 0.7F}};
    mute.setMuted(true);
    mute.setMuted(true);
    mute.setMuted(true);
    EXPECT_EQ(inputs.devices[1].volumes[0], 0.0F);
    mute.setMuted(false);
    EXPECT_EQ(inputs.devices[1].volumes[0], 0.7F);
}

TEST_F(MicrophoneMuteTest, KeepsOneVolumeADeviceTheLastElementsOne) {
    inputs.add(1, "Mic").volumes = {{1, 0.3F}, {2, 0.6F}};
    mute.setMuted(true);
    mute.setMuted(false);
    EXPECT_EQ(inputs.devices[1].volumes, (std::map<int, float>{{1, 0.6F}, {2, 0.6F}}));
}

TEST_F(MicrophoneMuteTest, GivesHalfTheVolumeToADeviceThatItNeverMuted) {
    inputs.add(1, "Mic").volumes = {{0, 0.0F}};
    mute.setMuted(false);
    EXPECT_EQ(inputs.devices[1].volumes[0], 0.5F);
}

TEST_F(MicrophoneMuteTest, NamesTheDevicesThatCannotBeMuted) {
    inputs.add(1, "Switch").hasSwitch = true;
    inputs.add(2, "Nothing");
    auto& stuck = inputs.add(3, "Stuck");
    stuck.volumes = {{0, 0.5F}};
    stuck.volumeFails = true;
    EXPECT_EQ(mute.setMuted(true), (MuteOutcome{1, {"Nothing", "Stuck"}}));
}

} // namespace
} // namespace velmoran
