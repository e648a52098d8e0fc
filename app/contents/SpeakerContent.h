// What the panel says of where sound goes right now. A plain value, in the language of the
// process-wide words; any thread.
#pragma once

#include "core/records/UsageSession.h"
#include "core/stopping/SpeakerGuard.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

struct SpeakerContent {
    std::string title;
    std::string symbol;
    bool isInUse = false;
    std::string line;  ///< the place, and who has sound open there
    std::string state; ///< "Muted", or how loud; empty where that isn't known

    static SpeakerContent of(const std::optional<OutputRoute>& route,
                             const std::vector<UsageSession>& sessions);

    bool operator==(const SpeakerContent&) const = default;
};

} // namespace velmoran
