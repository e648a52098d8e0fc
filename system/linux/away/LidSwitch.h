// Whether the machine has a lid that can be told open from closed. Any thread.
#pragma once

#include <string>

namespace velmoran {

/// By a folder that is made as /sys/class/input is. True where there is none: nothing is known
/// then.
bool hasLidSwitch(const std::string& folder);

} // namespace velmoran
