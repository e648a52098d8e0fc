// Where a mute is kept: servers keep one for each port of a microphone. A plain value; any thread.
#pragma once

#include "core/base/Fields.h"

#include <compare>
#include <string>
#include <vector>

namespace velmoran {

struct MicrophonePlace {
    std::string name; ///< the machine's own for the device, the same over restarts
    std::string port; ///< the one that was in use; empty without

    auto operator<=>(const MicrophonePlace&) const = default;
};

void visitFields(MaybeConst<MicrophonePlace> auto& place, auto visit) {
    visit("name", place.name);
    visit("port", place.port);
}

/// Each once.
using MutedPlaces = std::vector<MicrophonePlace>;

} // namespace velmoran
