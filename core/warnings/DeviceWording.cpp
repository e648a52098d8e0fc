#include "core/warnings/DeviceWording.h"

#include "core/text/Localizer.h"

#include <set>

namespace velmoran::DeviceWording {

namespace {

std::string one(Device device) {
    switch (device) {
    case Device::camera:
        return words().text("the camera");
    case Device::microphone:
        return words().text("the microphone");
    case Device::speaker:
        break;
    }
    return words().text("the speaker");
}

} // namespace

std::string the(const std::vector<Device>& devices) {
    const std::set<Device> sorted(devices.begin(), devices.end());
    if (sorted == std::set{Device::camera, Device::microphone}) {
        return words().text("the camera and microphone");
    }
    std::vector<std::string> phrases;
    phrases.reserve(sorted.size());
    for (const auto device : sorted) {
        phrases.push_back(one(device));
    }
    return words().list(phrases);
}

} // namespace velmoran::DeviceWording
