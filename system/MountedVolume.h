// What is known of a volume that was mounted, as far as it says whether it came from outside. A
// plain value; any thread.
#pragma once

#include <optional>

namespace velmoran {

struct MountedVolume {
    std::optional<bool> isInternal = std::nullopt; ///< nothing if the machine doesn't know
    bool isRemovable = false;                      ///< the medium can be taken out of its drive
    bool isEjectable = false;                      ///< by the machine itself

    bool isExternal() const { return isInternal == false || isRemovable || isEjectable; }
};

} // namespace velmoran
