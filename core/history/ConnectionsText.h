// The connections of a session as the history file holds them: a JSON array of ConnectionRecord.
// Pure functions; any thread.
#pragma once

#include "core/records/UsageSession.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// Compact JSON text; nothing for an empty list, and nothing if encoding fails.
std::optional<std::string> connectionsText(const std::vector<ConnectionRecord>& connections);

/// All or nothing: any text that isn't an array of connections gives an empty list.
std::vector<ConnectionRecord> connectionsFrom(std::string_view text);

} // namespace velmoran
