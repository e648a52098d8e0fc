#include "core/warnings/UnwatchedWording.h"

#include "core/text/Localizer.h"

#include <algorithm>

namespace velmoran::UnwatchedWording {

namespace {

bool contains(const std::vector<Device>& devices, Device device) {
    return std::ranges::find(devices, device) != devices.end();
}

} // namespace

std::string nothingOn(const std::vector<Device>& unwatched) {
    const bool seesCamera = !contains(unwatched, Device::camera);
    const bool seesMicrophone = !contains(unwatched, Device::microphone);
    if (seesCamera && seesMicrophone) {
        return words().text("Camera and microphone are off");
    }
    if (seesCamera) {
        return words().text("The camera is off");
    }
    return seesMicrophone ? words().text("The microphone is off")
                          : words().text("Camera and microphone aren't being watched");
}

std::vector<std::string> reasons(const std::vector<Device>& unwatched) {
    std::vector<std::string> sentences;
    if (contains(unwatched, Device::camera)) {
        // It may lack the right, or the kernel a watch.
        sentences.push_back(words().text(
            "The camera isn't being watched: the system doesn't let Velmoran look at it."));
    }
    if (contains(unwatched, Device::microphone)) {
        sentences.push_back(
            words().text("The microphone isn't being watched: no sound server can be reached."));
    }
    return sentences;
}

} // namespace velmoran::UnwatchedWording
