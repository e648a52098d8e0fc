#include "app/contents/DeviceNames.h"

#include "core/text/Localizer.h"

namespace velmoran::DeviceNames {

std::string of(Device device) {
    switch (device) {
    case Device::camera:
        return words().text("Camera");
    case Device::microphone:
        return words().text("Microphone");
    case Device::speaker:
        break;
    }
    return words().text("Speaker");
}

std::string symbolOf(Device device) {
    switch (device) {
    case Device::camera:
        return "video.fill";
    case Device::microphone:
        return "mic.fill";
    case Device::speaker:
        break;
    }
    return "speaker.wave.2.fill";
}

} // namespace velmoran::DeviceNames
