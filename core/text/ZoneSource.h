// The time zone of the machine, where the words are to follow it while the program runs: somebody
// travels, and the desktop sets another zone.
#pragma once

#include <functional>
#include <string>

namespace velmoran {

/// From now on every `Localizer` stands in the zone that this names (as an Olson name) instead of
/// its own. It is asked, by any thread but never by two at once, whenever a time is worded or a
/// calendar day is asked for, so it has to be cheap. An empty function ends it: each localizer
/// stays in the zone it stands in then.
void setZoneSource(std::function<std::string()> name);

} // namespace velmoran
