// Sets the process-wide words to the user's language, formats and time zone. Called by `main`
// before anything else is worded; main thread.
#pragma once

#include "app/model/KeyValueStore.h"
#include "system/Machine.h"

#include <optional>
#include <string>

namespace velmoran {

/// The language is the user's choice in the settings, or else the system's; the formats of times
/// and lists are those of that language in the system's region.
void setSystemWords(KeyValueStore& settings, Platform platform);

/// Where `chosen` is another language than that of the system's locale: that language as it is used
/// in the system's region, whose way of writing times stays the person's own.
std::string localeOf(const std::string& system, const std::optional<std::string>& chosen);

/// From now on the words stand in the machine's time zone, also when that is changed later. Not for
/// a recording, whose zone stays the same.
void followSystemZone();

} // namespace velmoran
