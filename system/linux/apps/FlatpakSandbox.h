// Which flatpak a process belongs to. Inside a sandbox /.flatpak-info says so, but anybody can make
// a sandbox and put such a file in it; so it is believed only together with what the kernel says:
// that the process, or one that started it in the same sandbox, runs a file of that flatpak as it
// is installed. Reads at the moment of asking; any thread.
#pragma once

#include "system/linux/apps/LinuxPlaces.h"
#include "system/linux/kernel/ProcFs.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// The parts of /.flatpak-info that are used (flatpak-metadata(5)).
struct FlatpakInfo {
    std::string id;
    std::string appPath;     ///< where the app's files lie outside the sandbox
    std::string runtimePath; ///< and those of its runtime

    bool operator==(const FlatpakInfo&) const = default;
};

/// Nothing without an application's name, as for a bare runtime.
std::optional<FlatpakInfo> parseFlatpakInfo(std::string_view text);

struct FlatpakOrigin {
    std::string id;
    std::string folder; ///< "INSTALLATION/app/ID"

    bool operator==(const FlatpakOrigin&) const = default;
};

/// Nothing for a process in no sandbox, or in one that only pretends.
std::optional<FlatpakOrigin> flatpakOrigin(const ProcFs& proc, const LinuxPlaces& places,
                                           pid_t pid);

} // namespace velmoran
