// What is being used. A plain value; any thread.
#pragma once

#include "core/base/Json.h"

#include <array>
#include <optional>
#include <string_view>

namespace velmoran {

/// In the order in which every loop over devices runs.
enum class Device { camera, microphone, speaker };

inline constexpr std::array<Device, 3> allDevices = {Device::camera, Device::microphone,
                                                     Device::speaker};

/// "camera", "microphone", "speaker": the stored and exchanged form.
std::string_view rawValue(Device device);
/// Nothing for any other text.
std::optional<Device> deviceFrom(std::string_view rawValue);

void to_json(Json& json, Device device);
/// Throws DecodingError for anything but the three names.
void from_json(const Json& json, Device& device);

} // namespace velmoran
