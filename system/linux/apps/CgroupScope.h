// What the name of a control group says of the app that was started in it. Anybody can start a
// scope under any name, so it says which of several answers is meant and is never one by itself.
// Pure functions; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

struct CgroupScope {
    enum class Kind { flatpak, snap, desktop };

    Kind kind = Kind::desktop;
    std::string id;  ///< of the flatpak, the snap's name, or the desktop id
    std::string app; ///< of a snap: which of its programs; empty otherwise

    bool operator==(const CgroupScope&) const = default;
};

/// From one path of /proc/PID/cgroup; the innermost unit that has one of the forms
/// "app-flatpak-ID-N.scope", "snap.NAME.APP-….scope" or ".service", "app-LAUNCHER-ID-N.scope",
/// "app-ID-N.scope", "app-ID@N.service" and "app-ID.service". "\x2d" and its kind are undone.
/// Where LAUNCHER can't be told from a part of ID, the launcher is taken to have no dash, as it
/// must not.
std::optional<CgroupScope> parseCgroupScope(std::string_view path);

/// The first that any of the paths gives.
std::optional<CgroupScope> parseCgroupScope(const std::vector<std::string>& paths);

} // namespace velmoran
