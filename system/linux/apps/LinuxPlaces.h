// Where on a Linux machine the things lie by which apps are named. A plain value, so that a test
// can lay them all out in a folder of its own.
#pragma once

#include "system/linux/apps/WriteProtection.h"

#include <string>
#include <vector>

namespace velmoran {

/// A folder in which flatpaks are installed: "app/ID/…" and "exports/share/applications" lie in it.
struct FlatpakInstallation {
    std::string name; ///< "system", "user", or as /etc/flatpak/installations.d names it
    std::string path;

    bool operator==(const FlatpakInstallation&) const = default;
};

struct LinuxPlaces {
    std::string procRoot = "/proc";
    std::string home; ///< the user's, its real path; empty if there is none
    /// Folders of desktop entries ("…/applications"), the user's own first, as the XDG base
    /// directory rules order them; then those of flatpaks and snaps.
    std::vector<std::string> applicationFolders;
    std::vector<std::string> systemPath; ///< where programs named without a folder are looked for
    std::vector<std::string> userPath;   ///< the same, if none of `systemPath` has it
    std::vector<FlatpakInstallation> flatpaks;
    std::vector<std::string> snapRoots = {"/snap", "/var/lib/snapd/snap"};
    std::string appMount = "/app"; ///< where a flatpak sees itself
    std::string runtimeMount = "/usr";
    WriteProtection protection;

    /// From the environment and /etc.
    static LinuxPlaces ofThisUser();
};

} // namespace velmoran
