// Who is at the other end of a connection: which program its process runs, by the kernel's word and
// not by the process's own.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velmoran {

struct PeerProgram {
    std::int32_t pid = 0;
    /// The file that it runs, as this program sees it; nothing if it has ended, may not be looked
    /// at, or lives among other files or users than this program.
    std::optional<std::string> path;
};

/// Any thread.
PeerProgram programOf(std::int32_t pid);

/// Whether that is Velmoran, the one in the tray or velmoranctl: a program of that name which only
/// root can have put there, or which stands beside the one that asks, so that whoever replaces it
/// could have replaced both. What runs inside it isn't seen.
bool isVelmoran(const PeerProgram& program);

/// Whether a process of such a program has that file open and locked (flock(2)), this process among
/// them. The kernel doesn't say who locked it, if they were handed the open file.
bool isLockedBy(const std::function<bool(const PeerProgram&)>& isSuch, const std::string& path);

} // namespace velmoran
