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

} // namespace velmoran
