// Decides whether the speakers have to be muted because headphones came off. Pure; any thread.
#pragma once

#include "core/records/SystemSnapshot.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velmoran {

/// Where sound goes.
struct OutputRoute {
    using Kind = OutputDeviceInfo::Kind;

    std::uint32_t id = 0; ///< of the audio device
    std::string name;
    Kind kind = Kind::other;
    std::optional<double> volume; ///< 0 to 1; absent when the device has no readable volume
    bool isMuted = false;

    bool operator==(const OutputRoute&) const = default;
};

/// No output, no route.
std::optional<OutputRoute> outputRoute(const std::optional<OutputDeviceInfo>& output);

namespace SpeakerGuard {

/// True when what was private would now play out loud: headphones before, audible built-in speakers
/// now, and the headphones are gone or were the same device. A user who picks the speakers with the
/// headphones still connected wants to hear them.
bool shouldMute(const std::optional<OutputRoute>& previous,
                const std::optional<OutputRoute>& current, bool previousStillConnected,
                bool enabled);

} // namespace SpeakerGuard
} // namespace velmoran
