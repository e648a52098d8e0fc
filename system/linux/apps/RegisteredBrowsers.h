// Which apps the desktop's entries register for web links. Pure but for the entries; whoever asks
// holds their lock.
#pragma once

#include "system/linux/apps/DesktopEntries.h"
#include "system/linux/apps/LinuxPlaces.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// The ids of entries that can give one, and the paths by which the other apps are known.
std::vector<std::string> registeredBrowsers(const DesktopEntries& entries,
                                            const LinuxPlaces& places);

/// The id that an entry gives to its app: one that is called as the unknown app has none.
std::optional<std::string> ownID(const std::string& id);

} // namespace velmoran
