// Whether the machine runs on mains power, by the kernel's power supplies. Any thread.
#pragma once

#include <optional>
#include <string>

namespace velmoran {

/// By a folder that is made as /sys/class/power_supply is; nothing if there is none. A machine
/// without a battery runs on mains power.
std::optional<bool> isOnMains(const std::string& folder);

} // namespace velmoran
