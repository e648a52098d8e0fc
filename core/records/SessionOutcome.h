// How a session ended. A plain value; any thread.
#pragma once

#include "core/records/RawValue.h"

namespace velmoran {

enum class SessionOutcome {
    endedNormally, ///< the use stopped by itself
    stoppedByUser, ///< it stopped after the user's stop had claimed the session
    endUnknown,    ///< the program was not running when the use ended
};

constexpr std::array<std::string_view, 3> caseNames(SessionOutcome) {
    return {"endedNormally", "stoppedByUser", "endUnknown"};
}

} // namespace velmoran
