// Whose trust a person takes back without the screen, and what is to be said of it. Pure; any
// thread.
#pragma once

#include "core/trust/TrustList.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// Trust that is taken from one app.
struct TakenTrust {
    AppIdentity app;
    std::vector<Device> devices; ///< in their fixed order, never empty
    /// Of those devices, as they stand in the list.
    std::vector<TrustRule> rules;

    /// "Zoom is no longer trusted with the camera.", in the language of the process-wide words.
    std::string sentence() const;
};

/// The apps that are trusted with the camera or the microphone, each once.
std::vector<AppIdentity> trustedApps(const TrustList& list);

/// What `app` is trusted with, of that device or of all; nothing if that isn't any.
std::optional<TakenTrust> trustOf(const TrustList& list, const AppIdentity& app,
                                  std::optional<Device> device);

/// Why `text` chooses no app of those that are trusted; `meant` is what `matchingApps` gave, none
/// or several.
std::string trustError(const std::string& text, const std::vector<AppIdentity>& meant,
                       const std::vector<AppIdentity>& trusted);
/// The same for a device that the app isn't trusted with.
std::string trustError(const AppIdentity& app, Device device);

} // namespace velmoran
