// The name by which a program of root's was called, where it has several: many tools are one file
// with links of other names. Reads at the moment of asking; any thread.
#pragma once

#include "system/linux/apps/LinuxPlaces.h"

#include <optional>
#include <string>

namespace velmoran {

/// The name of a link that root alone could have made, that leads to this file and that the word
/// means, a path or a name to be looked up; nothing without one. The word is the process's own,
/// from its arguments, but all that it chooses among is what root calls this file.
std::optional<std::string> startedLink(const std::string& word, const std::string& file,
                                       const LinuxPlaces& places);

} // namespace velmoran
