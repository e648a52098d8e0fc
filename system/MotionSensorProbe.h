// Whether a motion sensor of the machine delivers anything: a diagnosis that stands alone, since
// moving the whole machine isn't watched.
#pragma once

#include "core/base/Timestamp.h"

#include <cstdint>

namespace velmoran {

class MotionSensorProbe {
public:
    struct Result {
        int devicesFound = 0;
        std::int32_t openStatus = 0; ///< the system's word on opening them; 0 for success
        int reportsReceived = 0;

        bool operator==(const Result&) const = default;
    };

    virtual ~MotionSensorProbe() = default;
    /// Blocks its thread for that time. Any thread.
    virtual Result run(Seconds seconds) = 0;
};

} // namespace velmoran
