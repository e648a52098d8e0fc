// Which programs a stop never closes: those that the system or the desktop session stands on. Pure;
// any thread.
#pragma once

#include "core/records/AppIdentity.h"
#include "system/Machine.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// Programs of a Linux desktop by their names. A "*" stands for any letters.
struct ProtectedPrograms {
    std::vector<std::string_view> files;
    std::string_view reason; ///< what would be lost with them
};

const std::vector<ProtectedPrograms>& protectedOnLinux();

/// By the program's name alone: says nothing of whether the file there can be relied on.
bool hasProtectedName(std::string_view path);

/// `ownBundleID` is this application's own identifier. On Linux a name protects only what lies
/// where nobody but root installs programs: else it could be taken to escape a stop.
bool isProtected(const AppIdentity& app, Platform platform,
                 const std::optional<std::string>& ownBundleID);

} // namespace velmoran
