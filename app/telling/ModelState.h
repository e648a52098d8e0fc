// What a model holds at a moment, as a recording shows it. Main thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/telling/ReplayWriter.h"

#include <optional>
#include <string>

namespace velmoran {

/// Under one of the words "openSessions", "history", "recent", "rows", "reports", "trust",
/// "notices", "icon", "panel" and "settings", or under "days" for a number of days and "appTimes"
/// for "today" or "week". Nothing for any other word.
std::optional<Json> stateOf(const AppModel& model, const std::string& word, const Json& argument,
                            ReplayWriter& writer);

} // namespace velmoran
