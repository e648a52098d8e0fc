#include "core/records/AppIdentity.h"

#include "core/text/Localizer.h"

namespace velmoran {

AppIdentity AppIdentity::unknown() {
    return {.id = unknownID,
            .name = words().text("Unknown app"),
            .bundleID = {},
            .path = {},
            .teamID = {}};
}

const std::vector<std::string>& AppIdentity::unknownNames() {
    static const std::vector<std::string> names = {"Unknown app", "Unbekannte App"};
    return names;
}

} // namespace velmoran
