// The forms of what the kernel writes under /proc, read from bytes: pure functions; any thread.
// An entry of another form than the kernel's gives nothing, never half an answer.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// What is used of /proc/PID/stat (proc(5)).
struct ProcStat {
    pid_t pid = 0;
    std::string comm;             ///< the process's own word for itself, at most 15 bytes
    char state = '?';             ///< 'Z' for one that has ended and waits to be collected
    pid_t parent = 0;             ///< 0 for the first process of a namespace
    std::uint64_t startTicks = 0; ///< clock ticks from the machine's start: tells a reused id

    bool operator==(const ProcStat&) const = default;
};

/// One line; what follows the line's end is ignored. The name may hold spaces, brackets and line
/// ends: it reaches to the last closing bracket.
std::optional<ProcStat> parseProcStat(std::string_view text);

/// /proc/PID/cmdline: arguments, each ended by a zero byte; the last may lack it. Empty ones are
/// kept. A process that overwrote its arguments by one text gives that text as one argument.
std::vector<std::string> parseCommandLine(std::string_view text);

/// /proc/PID/cgroup: the paths of all its lines, that of version 2 ("0::") first, then version 1's
/// "name=systemd", then the others in their order. Lines of another form are left out.
std::vector<std::string> parseCgroupPaths(std::string_view text);

/// /proc/PID/status: the real user id.
std::optional<uid_t> parseStatusUid(std::string_view text);

/// What stands behind the path in /proc/PID/exe when the file isn't there any more.
inline constexpr std::string_view deletedMark = " (deleted)";
/// /proc/PID/exe: the path alone.
std::string withoutDeletedMark(std::string_view linkText);

/// /proc/PID/fd/N: the inode in "socket:[4711]"; nothing for any other text.
std::optional<std::uint64_t> socketInode(std::string_view linkText);

/// /proc/PID/fdinfo/N: how the file was opened (open(2)), with O_CLOEXEC as it is now.
std::optional<unsigned> parseDescriptorFlags(std::string_view text);

/// /proc/PID/fdinfo/N of one of /dev/fuse: the number of the connection, which is the minor number
/// of the file system that is served over it. Nothing where the kernel doesn't tell it, as older
/// ones don't.
std::optional<unsigned> parseFuseConnection(std::string_view text);

} // namespace velmoran
