// Sets the process-wide words to the user's language, formats and time zone. Called by `main`
// before anything else is worded; main thread.
#pragma once

#include "app/model/KeyValueStore.h"
#include "system/Machine.h"

namespace velmoran {

/// The language is the user's choice in the settings, or else the system's; times and days are
/// written as in the region whose times the system writes (SystemLocale.h).
void setSystemWords(KeyValueStore& settings, Platform platform);

/// From now on the words stand in the machine's time zone, also when that is changed later. Not for
/// a recording, whose zone stays the same.
void followSystemZone();

} // namespace velmoran
