// Which file a process that runs an interpreter runs as its script, by the path under which this
// program sees it. Reads at the moment of asking; any thread.
#pragma once

#include "system/linux/apps/ScanCache.h"
#include "system/linux/kernel/ProcFs.h"

#include <optional>
#include <string>

namespace velmoran {

/// The real path. Nothing for code from elsewhere, for a file that the process sees another under
/// that path than this program does, and for one that its command line may not claim: one of the
/// system's own programs, one that needs no interpreter, or root's while the interpreter isn't. For
/// the dynamic loader, if that is root's, it is the program that it was told to load, unless that
/// is root's or the process runs code of others.
std::optional<std::string> scriptFile(pid_t pid, const std::string& interpreter, const ProcFs& proc,
                                      ScanCache& cache);

} // namespace velmoran
