#include "system/linux/pulse/ChannelVolumes.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmoran {
namespace {

pa_cvolume volumeOf(const std::vector<unsigned>& percent) {
    pa_cvolume volume;
    pa_cvolume_init(&volume);
    volume.channels = static_cast<std::uint8_t>(percent.size());
    for (std::size_t channel = 0; channel < percent.size(); ++channel) {
        volume.values[channel] = PA_VOLUME_NORM * percent[channel] / 100;
    }
    return volume;
}

bool isEqual(const pa_cvolume& one, const pa_cvolume& other) {
    return pa_cvolume_equal(&one, &other) != 0;
}

TEST(ChannelVolumes, GiveEachChannelItsOwnBack) {
    for (const auto& percent : std::vector<std::vector<unsigned>>{
             {37}, {37, 81}, {100, 0}, {1, 2, 3, 4, 5, 6}, {153, 140}, {99, 33, 7}}) {
        ChannelVolumes volumes;
        const auto own = volumeOf(percent);
        const auto level = ChannelVolumes::level(own);
        const auto silent = volumes.at(0, "mic", own);
        EXPECT_EQ(pa_cvolume_max(&silent), PA_VOLUME_MUTED);
        EXPECT_EQ(silent.channels, own.channels);
        // The mute is repeated while it stands.
        volumes.at(0, "mic", silent);
        EXPECT_TRUE(isEqual(volumes.at(level, "mic", silent), own)) << percent.size();
    }
}

TEST(ChannelVolumes, AreKeptForEachSource) {
    ChannelVolumes volumes;
    const auto first = volumeOf({30, 60});
    const auto second = volumeOf({60, 20});
    const auto silent = volumes.at(0, "first", first);
    volumes.at(0, "second", second);
    EXPECT_TRUE(isEqual(volumes.at(ChannelVolumes::level(first), "first", silent), first));
    EXPECT_TRUE(isEqual(volumes.at(ChannelVolumes::level(second), "second", silent), second));
}

TEST(ChannelVolumes, AreAlikeWhereNothingIsRemembered) {
    ChannelVolumes volumes;
    EXPECT_TRUE(isEqual(volumes.at(0.5F, "mic", volumeOf({0, 0})), volumeOf({50, 50})));
    // A device that came back with other channels.
    volumes.at(0, "mic", volumeOf({50, 25}));
    EXPECT_TRUE(isEqual(volumes.at(0.5F, "mic", volumeOf({0})), volumeOf({50})));
}

TEST(ChannelVolumes, KeepTheBalanceOfASourceThatIsHeard) {
    ChannelVolumes volumes;
    EXPECT_TRUE(isEqual(volumes.at(0.5F, "mic", volumeOf({100, 50})), volumeOf({50, 25})));
}

TEST(ChannelVolumes, AreNeverBeyondWhatTheServerTakes) {
    ChannelVolumes volumes;
    const auto loud = volumes.at(1e6F, "mic", volumeOf({100}));
    EXPECT_NE(pa_cvolume_valid(&loud), 0);
}

} // namespace
} // namespace velmoran
