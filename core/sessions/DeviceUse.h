// One reading of one device: whether it is on, and who uses it. A plain value; any thread.
#pragma once

#include "core/records/AppIdentity.h"

#include <vector>

namespace velmoran {

/// The default value stands for off.
struct DeviceUse {
    bool isOn = false;
    std::vector<AppIdentity> apps; ///< in the order of handling; empty while nobody can be named

    bool operator==(const DeviceUse&) const = default;
};

} // namespace velmoran
