// A camera as one of the Linux sources sees it: the device, and who uses it. Plain value; monitor's
// thread.
#pragma once

#include "system/Machine.h"

#include <string>
#include <vector>

namespace velmoran {

struct CameraUse {
    CameraDeviceInfo device;
    std::vector<std::string> apps; ///< AppRef ids, in order of opening, those that can't be named
                                   ///< among them; empty while nobody is known to use it

    bool operator==(const CameraUse&) const = default;
};

} // namespace velmoran
