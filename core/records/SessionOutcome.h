// How a session ended. A plain value; any thread.
#pragma once

#include "core/base/Json.h"

#include <optional>
#include <string_view>

namespace velmoran {

enum class SessionOutcome {
    endedNormally, ///< the use stopped by itself
    stoppedByUser, ///< it stopped after the user's stop had claimed the session
    endUnknown,    ///< the program was not running when the use ended
};

/// The case name: the stored and exchanged form.
std::string_view rawValue(SessionOutcome outcome);
std::optional<SessionOutcome> sessionOutcomeFrom(std::string_view rawValue);

void to_json(Json& json, SessionOutcome outcome);
void from_json(const Json& json, SessionOutcome& outcome);

} // namespace velmoran
