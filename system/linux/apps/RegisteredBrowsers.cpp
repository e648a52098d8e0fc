#include "system/linux/apps/RegisteredBrowsers.h"

#include "core/records/AppIdentity.h"

#include <algorithm>
#include <set>

namespace velmoran {

std::vector<std::string> registeredBrowsers(const DesktopEntries& entries,
                                            const LinuxPlaces& places) {
    std::set<std::string> all;
    for (const auto& found : entries.all()) {
        const auto& schemes = found.entry.schemes;
        if (std::none_of(schemes.begin(), schemes.end(), [](const std::string& scheme) {
                return scheme == "http" || scheme == "https";
            })) {
            continue;
        }
        if (found.isProtected) {
            all.insert(found.entry.id);
        }
        // The same program may stand in further entries and be named by one of those.
        for (const auto* other : entries.byProgram(found.program)) {
            all.insert(other->isTrusted ? ownID(other->entry.id).value_or(other->program)
                                        : other->program);
        }
        if (found.entry.flatpak) {
            for (const auto& flatpak : places.flatpaks) {
                all.insert(flatpak.path + "/app/" + *found.entry.flatpak);
            }
        }
    }
    return {all.begin(), all.end()};
}

std::optional<std::string> ownID(const std::string& id) {
    return id == AppIdentity::unknownID ? std::nullopt : std::optional(id);
}

} // namespace velmoran
