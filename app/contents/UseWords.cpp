#include "app/contents/UseWords.h"

#include "core/text/Localizer.h"

namespace velmoran {

std::string deviceWord(Device device) {
    switch (device) {
    case Device::camera:
        return words().text("camera");
    case Device::microphone:
        return words().text("mic");
    case Device::speaker:
        break;
    }
    return words().text("speaker");
}

std::string toldWord(std::optional<SessionOutcome> outcome, std::optional<WarningLevel> level) {
    if (outcome == SessionOutcome::stoppedByUser) {
        return words().text("Stopped");
    }
    if (!level) {
        return {};
    }
    return *level == WarningLevel::quiet ? words().text("Trusted") : words().text("Warned");
}

} // namespace velmoran
