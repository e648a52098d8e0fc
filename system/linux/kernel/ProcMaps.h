// /proc/PID/maps (proc(5)): of each stretch of a process's memory a line, which says what file is
// behind it. Plain values, read at the moment of asking; any thread.
#pragma once

#include "system/linux/kernel/ProcFs.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

struct ProcMapping {
    std::uint64_t begin = 0;
    std::uint64_t end = 0; ///< the first byte behind it
    bool isExecutable = false;
    std::string device; ///< "fd:01": the kernel's own word, which with some file systems differs
                        ///< from what stat(2) says
    std::uint64_t inode = 0; ///< 0 without a file
    std::string path;        ///< empty without a file; " (deleted)" stays; no line breaks in it

    bool operator==(const ProcMapping&) const = default;
};

/// Nothing for a line that isn't in the form
/// "START-END PERMISSIONS OFFSET MAJOR:MINOR INODE   PATH"; START, END, OFFSET and the device are
/// hexadecimal, the inode is decimal. The kernel writes a line break in a path as "\012".
std::optional<ProcMapping> parseProcMapping(std::string_view line);

/// What a process may run of its memory. Nothing if it can't be read whole.
std::optional<std::vector<ProcMapping>> executableMappings(pid_t pid, const ProcFs& proc);
/// How each of these files, as this program sees them, is worded where it is mapped: the kernel
/// names its device and inode there as nowhere else. By path, without those that can't be mapped.
std::map<std::string, ProcMapping> asMapped(const std::set<std::string>& paths);

} // namespace velmoran
