// Which of the apps in use a person means. Pure; any thread.
#pragma once

#include "core/records/UsageSession.h"

#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// The apps that use the camera or the microphone, each once, in the order of their first use.
std::vector<AppIdentity> stoppableApps(const std::vector<UsageSession>& open);

/// Those that `text` means, of apps that differ: by id, or else by bundle identifier or path, or
/// else by name, or else by name with the case ignored, or else by name without the folder behind
/// it. More than one only if they can't be told apart by that.
std::vector<AppIdentity> matchingApps(std::string_view text, const std::vector<AppIdentity>& apps);

/// "Zoom (us.zoom.Zoom)"; the name alone where that is the id.
std::vector<std::string> namesWithIDs(const std::vector<AppIdentity>& apps);

/// That `text` means several apps, in the language of the process-wide words.
std::string ambiguityError(const std::string& text, const std::vector<AppIdentity>& meant);

/// Why `text` chooses no app, in the language of the process-wide words; `meant` is what
/// `matchingApps` gave, none or several.
std::string choiceError(const std::string& text, const std::vector<AppIdentity>& meant,
                        const std::vector<AppIdentity>& apps);

} // namespace velmoran
