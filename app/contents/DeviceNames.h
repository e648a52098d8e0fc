// Devices by their bare names, and by their symbols. Any thread.
#pragma once

#include "core/records/Device.h"

#include <string>

namespace velmoran::DeviceNames {

/// "Camera", in the language of the process-wide words.
std::string of(Device device);
/// The filled symbol of the program's set.
std::string symbolOf(Device device);

} // namespace velmoran::DeviceNames
