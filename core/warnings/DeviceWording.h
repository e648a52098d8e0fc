// Devices as the noun phrase that every message uses. Any thread.
#pragma once

#include "core/records/Device.h"

#include <string>
#include <vector>

namespace velmoran::DeviceWording {

/// "the camera and microphone": order and repeats don't matter; empty for no devices. In the
/// language of the process-wide words.
std::string the(const std::vector<Device>& devices);

} // namespace velmoran::DeviceWording
