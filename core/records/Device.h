// What is being used. A plain value; any thread.
#pragma once

#include "core/records/RawValue.h"

namespace velmoran {

/// In the order in which every loop over devices runs.
enum class Device { camera, microphone, speaker };

inline constexpr std::array<Device, 3> allDevices = {Device::camera, Device::microphone,
                                                     Device::speaker};

constexpr std::array<std::string_view, 3> caseNames(Device) {
    return {"camera", "microphone", "speaker"};
}

} // namespace velmoran
