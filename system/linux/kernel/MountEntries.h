// The form of what the kernel lists in /proc/PID/mountinfo: what is mounted in a process's world.
// Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace velmoran {

/// One line of it (proc(5)).
struct MountEntry {
    dev_t device = 0; ///< of the file system; some have a number of no device (major 0)
    std::string root; ///< the folder or file of the file system that is seen there: "/" for all
    std::string folder;
    std::string type;    ///< "ext4"
    std::string source;  ///< "/dev/sdb1", or whatever the file system calls itself
    std::string options; ///< the file system's own, with commas between them

    bool operator==(const MountEntry&) const = default;
};

/// Over which a file system of a user's own is served: the number that /proc/PID/fdinfo tells of
/// the descriptor at the other end (`parseFuseConnection`). Says nothing of other file systems.
unsigned fuseConnection(const MountEntry& entry);

/// In the order of the table, in which a later one may hide earlier ones. A line that can't be read
/// is left out.
std::vector<MountEntry> readMountTable(std::string_view text);

} // namespace velmoran
