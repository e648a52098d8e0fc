// Asks the accelerometers of the kernel's IIO class for readings.
#pragma once

#include "system/MotionSensorProbe.h"

#include <functional>
#include <string>

namespace velmoran {

/// Any user may read them, so nothing has to be set up for it; there is a report for each reading
/// that is given, and each is asked for ten a second. The status is errno of the first that can't
/// be opened.
class IioMotionSensorProbe final : public MotionSensorProbe {
public:
    static constexpr Seconds interval = 0.1;

    /// `wait` passes that much time.
    explicit IioMotionSensorProbe(std::string folder = "/sys/bus/iio/devices",
                                  std::function<void(Seconds)> wait = {});

    Result run(Seconds seconds) override;

private:
    std::string folder_;
    std::function<void(Seconds)> wait_;
};

} // namespace velmoran
