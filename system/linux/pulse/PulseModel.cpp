#include "system/linux/pulse/PulseModel.h"

#include <set>

namespace velmoran {

namespace {

bool isRunning(const PulseModel::Stream& stream,
               const std::map<std::uint32_t, PulseModel::Device>& devices) {
    if (stream.isPaused || !stream.device) {
        return false;
    }
    const auto device = devices.find(*stream.device);
    return device != devices.end() && device->second.isRunning;
}

// The sources in which a microphone is heard: all that aren't monitors, and the monitors of sinks
// into which a module plays one of these.
std::set<std::uint32_t> microphonesOf(const PulseModel& model) {
    std::set<std::uint32_t> microphones;
    for (const auto& [index, source] : model.sources) {
        if (!source.monitorOfSink) {
            microphones.insert(index);
        }
    }
    for (std::size_t before = 0; before != microphones.size();) {
        before = microphones.size();
        std::set<std::uint32_t> modules;
        for (const auto& [index, recording] : model.recordings) {
            if (!recording.client && recording.module && recording.device &&
                microphones.contains(*recording.device)) {
                modules.insert(*recording.module);
            }
        }
        std::set<std::uint32_t> sinks;
        for (const auto& [index, playback] : model.playbacks) {
            if (!playback.client && playback.module && playback.device &&
                modules.contains(*playback.module)) {
                sinks.insert(*playback.device);
            }
        }
        for (const auto& [index, source] : model.sources) {
            if (source.monitorOfSink && sinks.contains(*source.monitorOfSink)) {
                microphones.insert(index);
            }
        }
    }
    return microphones;
}

} // namespace

std::map<std::uint32_t, PulseModel::Use> PulseModel::uses() const {
    const auto microphones = microphonesOf(*this);
    std::map<std::uint32_t, Use> uses;
    for (const auto& [index, recording] : recordings) {
        if (recording.client) {
            uses[*recording.client].microphone |=
                isRunning(recording, sources) && microphones.contains(*recording.device);
        }
    }
    for (const auto& [index, playback] : playbacks) {
        if (playback.client) {
            uses[*playback.client].speaker |= isRunning(playback, sinks);
        }
    }
    return uses;
}

} // namespace velmoran
