// What the kernel tells of the machine's processes, read from /proc at the moment of asking. Holds
// nothing but the place, so that tests can lay out processes of their own. Const throughout; any
// thread. What can't be read (a process that is gone, or doesn't let itself be looked at) and what
// has another form than the kernel's is nothing or empty; reads are bounded and never throw for it.
#pragma once

#include "system/linux/kernel/Files.h"
#include "system/linux/kernel/MountEntries.h"
#include "system/linux/kernel/ProcEntries.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

class ProcFs {
public:
    explicit ProcFs(std::string root = "/proc");

    const std::string& root() const { return root_; }
    /// "/proc/PID/NAME", without asking whether it is there.
    std::string path(pid_t pid, std::string_view name) const;

    /// All processes that are visible, in no order.
    std::vector<pid_t> pids() const;
    std::optional<ProcStat> stat(pid_t pid) const;
    std::optional<pid_t> parent(pid_t pid) const;
    std::optional<std::uint64_t> startTicks(pid_t pid) const;
    std::optional<uid_t> uid(pid_t pid) const;
    std::vector<std::string> commandLine(pid_t pid) const;
    std::vector<std::string> cgroupPaths(pid_t pid) const;
    /// One variable of the environment that the process was started with: its own word.
    std::optional<std::string> environmentVariable(pid_t pid, std::string_view name) const;

    /// The file that the process runs, by the path under which *this* program sees it. A file that
    /// was deleted or replaced since gives the path that it had. Nothing when it may not be read,
    /// and also when the process sees other files under that path than this program does: in a
    /// mount namespace of its own, or in a file system of his own that he has taken away since,
    /// anybody can put anything at "/usr/bin/firefox". A program in memory alone has a path for
    /// which `liesInMemory` is true.
    std::optional<std::string> executable(pid_t pid) const;
    /// The same as the process's own namespace names it: a claim, of use only together with it.
    std::optional<std::string> executableClaim(pid_t pid) const;
    /// Whether it can be looked at: its executable, descriptors and folders.
    bool isReadable(pid_t pid) const;
    /// Whether it is there and forbids being looked at. Neither this nor readable is one that is
    /// gone, or has ended and waits to be collected.
    bool isOutOfSight(pid_t pid) const;
    /// A process goes on without its first thread, and then shows its files, arguments, memory and
    /// descriptors under the others' ids only: one of these. Nothing as long as the first one
    /// lives. The descriptors are found by the process's own id all the same.
    std::optional<pid_t> survivingThread(pid_t pid) const;
    /// Whether it has ended, though not collected: no thread of it runs any more. False for one
    /// that isn't there at all.
    bool hasOnlyEndedThreads(pid_t pid) const;
    /// Whether it sees the same mounts as this program; false when that may not be read.
    bool sharesMounts(pid_t pid) const;
    /// What is mounted where that process lives; 0 for this program itself.
    std::vector<MountEntry> mounts(pid_t pid = 0) const;

    /// The folder it works in now, as its own namespace names it.
    std::optional<std::string> workingDirectory(pid_t pid) const;
    /// "/proc/PID/root": behind it lie files as the process sees them.
    std::string rootOf(pid_t pid) const { return path(pid, "root"); }

    /// An open folder, and the name of a link in it.
    using VisitEntry = std::function<void(int folder, const char* name)>;
    /// All open descriptors, in a folder beside which lies "fdinfo".
    void eachDescriptor(pid_t pid, const VisitEntry& visit) const;
    /// The inodes of the sockets among them: a busy server's are many thousand.
    std::vector<std::uint64_t> sockets(pid_t pid) const;

private:
    std::string root_;
};

} // namespace velmoran
