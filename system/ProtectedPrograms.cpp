#include "system/ProtectedPrograms.h"

namespace velmoran {

bool isProtected(const AppIdentity& app, Platform platform,
                 const std::optional<std::string>& ownBundleID) {
    if (platform == Platform::macOS) {
        return PanicController::isProtected(app, ownBundleID);
    }
    return ownBundleID && app.bundleID == ownBundleID;
}

} // namespace velmoran
