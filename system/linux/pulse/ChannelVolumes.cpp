#include "system/linux/pulse/ChannelVolumes.h"

#include <algorithm>
#include <cmath>

namespace velmoran {

float ChannelVolumes::level(const pa_cvolume& volume) {
    return static_cast<float>(pa_cvolume_max(&volume)) / static_cast<float>(PA_VOLUME_NORM);
}

pa_cvolume ChannelVolumes::at(float level, const std::string& source, const pa_cvolume& current) {
    auto volume = current;
    if (level <= 0) {
        if (pa_cvolume_max(&current) > PA_VOLUME_MUTED) {
            heard_[source] = current;
        }
        pa_cvolume_mute(&volume, current.channels);
        return volume;
    }
    const auto wanted =
        static_cast<pa_volume_t>(std::lround(level * static_cast<float>(PA_VOLUME_NORM)));
    const auto heard = heard_.find(source);
    // A device may come back with other channels than it had.
    if (heard != heard_.end() && heard->second.channels == current.channels &&
        pa_cvolume_max(&heard->second) == wanted) {
        return heard->second;
    }
    // Scaling silence gives all channels that volume.
    pa_cvolume_scale(&volume, std::min(wanted, pa_volume_t{PA_VOLUME_MAX}));
    return volume;
}

} // namespace velmoran
