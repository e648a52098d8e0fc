// Where a file lies that a process in mounts of its own knows by another path: as the kernel's
// lists of mounts, the process's and this program's, have it. Reads at the moment of asking; any
// thread.
#pragma once

#include "system/linux/kernel/ProcFs.h"

#include <optional>
#include <string>

namespace velmoran {

/// The path by which this program sees that very file. `inside` is the process's path for it, and
/// `link` one below /proc/PID behind which it lies ("/proc/PID/exe"). Nothing for a file that can't
/// be seen from here, or isn't there any more.
std::optional<std::string> outsidePath(const ProcFs& proc, pid_t pid, const std::string& inside,
                                       const std::string& link);

} // namespace velmoran
