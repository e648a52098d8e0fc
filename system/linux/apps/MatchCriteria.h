// What a process must show at least to be of a certain app: the files that it may run and the
// folders in which they may lie. Cheap to hold a process against, so that of thousands only the few
// that pass are looked at closely; who passes isn't the app's yet. A plain value; any thread.
#pragma once

#include "system/linux/apps/DesktopEntries.h"
#include "system/linux/apps/LinuxPlaces.h"

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace velmoran {

struct MatchCriteria {
    std::vector<std::string> files;   ///< executables, or scripts of an interpreter; real paths
    std::vector<std::string> folders; ///< of the app's helpers, wrapped programs and snaps
    std::vector<pid_t> processes;     ///< that were the app when they were last identified
    bool mayBeFlatpak = false;        ///< an installed flatpak has that id

    /// `id` is that of an AppIdentity. Asks the file system for flatpaks only, and knows of no
    /// processes.
    static MatchCriteria of(const std::string& id, const DesktopEntries& entries,
                            const LinuxPlaces& places);

    /// Whether a process that runs this file, under whatever path it sees it, may be the app by
    /// the file alone. What runs an interpreter is to be judged by its script.
    bool fit(const std::string& executable) const;
    /// Whether a path ends as one of the files does. In mounts of its own a process knows the same
    /// file by another path.
    bool isNamedAsOne(std::string_view path) const;

    bool operator==(const MatchCriteria&) const = default;
};

/// Programs that draw or play on behalf of the app that started them.
bool worksForItsParent(std::string_view executable);

} // namespace velmoran
