#include "core/warnings/WarningNotice.h"

#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"

namespace velmoran {

std::string WarningNotice::title() const {
    const std::vector<std::string> holes = {app.name, DeviceWording::the(devices)};
    return duringAwayWatch ? words().text("%@ turned on %@ while you were away", holes)
                           : words().text("%@ turned on %@", holes);
}

std::optional<std::string> WarningNotice::message() const {
    if (!app.cannotBeNamed()) {
        return std::nullopt;
    }
    return words().text("We couldn't tell which app it is.");
}

} // namespace velmoran
