// What is said while uses of a device can't be seen: it is never called off. In the language of the
// process-wide words. Any thread.
#pragma once

#include "core/records/Device.h"

#include <string>
#include <vector>

namespace velmoran::UnwatchedWording {

/// That nothing is on, as far as that is known: "The camera is off".
std::string nothingOn(const std::vector<Device>& unwatched);
/// Why, a sentence for each device of which a person hears: camera and microphone.
std::vector<std::string> reasons(const std::vector<Device>& unwatched);

} // namespace velmoran::UnwatchedWording
