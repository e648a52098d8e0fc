// The angle of the lid from a hinge sensor of the kernel's IIO class, which reads it anew for
// whoever opens a file, and takes its time: a sensor behind a hub of its own sleeps between two
// readings. So a thread of its own reads, for as long as the sensor is open. Main thread.
#pragma once

#include "system/AwayReadings.h"

#include <memory>
#include <optional>
#include <string>

namespace velmoran {

class IioLidAngle final : public LidAngle {
public:
    /// Null if there is no hinge sensor in the folder of that class that gives an angle now.
    static std::unique_ptr<LidAngle> open(const std::string& folder = "/sys/bus/iio/devices");

    ~IioLidAngle() override;
    /// First the angle with which it was opened. Then of this moment from a quick sensor, of the
    /// last call from a slow one; nothing as long as that isn't there.
    std::optional<int> read() override;

private:
    struct Reader;
    explicit IioLidAngle(std::shared_ptr<Reader> reader);

    std::shared_ptr<Reader> reader_;
    std::optional<int> first_; ///< until it was read
};

} // namespace velmoran
