// The short words by which a line tells what a use was. In the language of the process-wide words.
#pragma once

#include "core/records/Device.h"
#include "core/records/SessionOutcome.h"
#include "core/records/WarningLevel.h"

#include <optional>
#include <string>

namespace velmoran {

/// "camera", "mic", "speaker".
std::string deviceWord(Device device);
/// "Stopped", else "Trusted" or "Warned"; empty for what wasn't told at all.
std::string toldWord(std::optional<SessionOutcome> outcome, std::optional<WarningLevel> level);

} // namespace velmoran
