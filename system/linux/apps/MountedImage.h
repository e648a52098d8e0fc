// The image file behind a program that lies in a mounted image, as AppImages do: each start mounts
// the image anew under another path, which would make another app of it each time. Anybody may
// mount what he likes under any name, so an image is believed only by what the kernel says of who
// serves the mount. Reads at the moment of asking; any thread.
#pragma once

#include "system/linux/kernel/ProcFs.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// The path of the image in which a file lies that this program sees under `file` and `pid` runs:
/// the program whose process, one of the same user, serves that file system from its own file.
/// Nothing for a file elsewhere, and where that isn't certain.
std::optional<std::string> mountedImage(const ProcFs& proc, pid_t pid, const std::string& file);

/// The folders at which images of that path's name are mounted, whoever serves them.
std::vector<std::string> foldersOfImage(const ProcFs& proc, const std::string& image);

/// Whether a process serves a file system to others (it has /dev/fuse open).
bool servesFiles(const ProcFs& proc, pid_t pid);

} // namespace velmoran
