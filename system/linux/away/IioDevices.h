// The sensors of the kernel's IIO class, as its folder has them
// (Documentation/ABI/testing/sysfs-bus-iio). Nothing is kept; any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// A hinge's files. Empty paths are of what isn't there.
struct HingeFiles {
    std::string raw;
    std::string offset;
    std::string scale; ///< of one step in radians; where there is none the steps are degrees
};

/// Of the first hinge between lid and keyboard; nothing if there is none. Other sensors of angles
/// aren't meant.
std::optional<HingeFiles> findHinge(const std::string& folder);

/// Whole degrees, 0 to 360; nothing if there is no number, or one beyond that: so a controller says
/// that it can't tell.
std::optional<int> hingeDegrees(const HingeFiles& files);

/// Each accelerometer by its file of one axis.
std::vector<std::string> findAccelerometers(const std::string& folder);

} // namespace velmoran
