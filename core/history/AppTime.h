// How long one app has used devices, in some period. A plain value.
#pragma once

#include "core/base/Timestamp.h"
#include "core/records/AppIdentity.h"

namespace velmoran {

struct AppTime {
    AppIdentity app;
    /// Device time, not time by the clock: two devices at once count twice.
    Seconds seconds = 0;

    bool operator==(const AppTime&) const = default;
};

} // namespace velmoran
