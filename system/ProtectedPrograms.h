// Which programs a stop never closes: those that the system or the desktop session stands on. Pure;
// any thread.
#pragma once

#include "core/records/AppIdentity.h"
#include "system/Machine.h"

#include <optional>
#include <string>

namespace velmoran {

/// `ownBundleID` is this application's own identifier.
bool isProtected(const AppIdentity& app, Platform platform,
                 const std::optional<std::string>& ownBundleID);

} // namespace velmoran
