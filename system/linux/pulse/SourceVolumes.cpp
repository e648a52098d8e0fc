#include "system/linux/pulse/SourceVolumes.h"

#include <algorithm>
#include <utility>

namespace velmoran {

void SourceVolumes::setMuted(bool muted, std::vector<Source> sources) {
    sources_ = std::move(sources);
    mute_.setMuted(muted);
    sources_.clear();
}

std::vector<InputControls::Input> SourceVolumes::inputs() {
    std::vector<Input> inputs;
    for (const auto& source : sources_) {
        inputs.push_back({objectIDOf(source), {}});
    }
    return inputs;
}

std::optional<float> SourceVolumes::settableVolume(std::uint32_t objectID, int) {
    const auto source = find(objectID);
    return source != sources_.end() && pa_cvolume_valid(&source->volume) != 0
               ? std::optional(ChannelVolumes::level(source->volume))
               : std::nullopt;
}

bool SourceVolumes::setVolume(std::uint32_t objectID, int, float volume) {
    const auto source = find(objectID);
    if (source == sources_.end()) {
        return false;
    }
    const bool written = source->write(volumes_.at(volume, source->serverName, source->volume));
    sources_.erase(source);
    return written;
}

std::uint32_t SourceVolumes::objectIDOf(const Source& source) {
    const auto next = static_cast<std::uint32_t>(objectIDs_.size()) + 1;
    return objectIDs_.try_emplace(source.serverName, next).first->second;
}

std::vector<SourceVolumes::Source>::iterator SourceVolumes::find(std::uint32_t objectID) {
    return std::find_if(sources_.begin(), sources_.end(),
                        [&](const Source& source) { return objectIDOf(source) == objectID; });
}

} // namespace velmoran
