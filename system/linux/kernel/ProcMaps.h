// One line of /proc/PID/maps (proc(5)): a stretch of a process's memory and the file behind it.
// Plain value; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

struct ProcMapping {
    std::uint64_t inode = 0; ///< 0 without a file
    std::string path;        ///< empty without a file; " (deleted)" stays; no line breaks in it

    bool operator==(const ProcMapping&) const = default;
};

/// Nothing for a line that isn't in the form
/// "START-END PERMISSIONS OFFSET MAJOR:MINOR INODE   PATH"; START, END, OFFSET and the device are
/// hexadecimal, the inode is decimal. The kernel writes a line break in a path as "\012".
std::optional<ProcMapping> parseProcMapping(std::string_view line);

} // namespace velmoran
