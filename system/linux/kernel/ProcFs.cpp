#include "system/linux/kernel/ProcFs.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/Descriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

namespace velmoran {

namespace {

constexpr std::size_t smallEntry = 16UL * 1024;
/// A command line or environment may be megabytes long; what names a program stands at its front.
constexpr std::size_t longEntry = 128UL * 1024;
/// A machine with thousands of containers has more mounts than fit there.
constexpr std::size_t mountEntries = 2048UL * 1024;

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

/// True if the folder can be read and isn't empty.
template <typename Visit>
bool eachEntry(const std::string& path, const Visit& visit) {
    const std::unique_ptr<DIR, CloseDirectory> directory(opendir(path.c_str()));
    bool any = false;
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        if (entry->d_name[0] != '.') {
            any = true;
            visit(dirfd(directory.get()), entry->d_name);
        }
    }
    return any;
}

/// Of the processes or threads that have a folder there.
std::vector<pid_t> idsIn(const std::string& folder) {
    std::vector<pid_t> ids;
    eachEntry(folder, [&](int, const char* name) {
        if (const auto id = wholeNumber<pid_t>(name); id && *id > 0) {
            ids.push_back(*id);
        }
    });
    return ids;
}

/// Why the link can't be read, as errno; 0 if it can.
int failureOf(const std::string& link) {
    std::array<char, 1> text; // NOLINT: filled by the call
    return readlink(link.c_str(), text.data(), text.size()) < 0 ? errno : 0;
}

/// The number of the mount in which a file or folder lies. Its file system isn't asked for it: that
/// may be one of anybody's making, which lets whoever asks wait. Without one errno says why; 0 is a
/// kernel that doesn't tell (before 5.8).
std::optional<std::uint64_t> mountOf(const std::string& path) {
    struct statx entry {};
    errno = 0;
    const int failed = ::statx(AT_FDCWD, path.c_str(), AT_STATX_DONT_SYNC, STATX_MNT_ID, &entry);
    const bool isKnown = failed == 0 && (entry.stx_mask & STATX_MNT_ID) != 0;
    return isKnown ? std::optional<std::uint64_t>(entry.stx_mnt_id) : std::nullopt;
}

/// Whether a file that isn't at that path any more may have been there: its mount is that of the
/// folder, or of what is left of the folders above it. In a file system that was taken away under
/// a running program, which anybody may do with one of his own, paths begin at its own root.
bool mayHaveLain(const std::string& link, std::string_view path) {
    const auto mount = mountOf(link);
    if (!mount) {
        return errno == ENOENT; // it has ended meanwhile
    }
    while (!path.empty()) {
        path = parentOf(path);
        if (const auto its = mountOf(path.empty() ? "/" : std::string(path))) {
            return its == mount;
        }
    }
    return false;
}

} // namespace

ProcFs::ProcFs(std::string root) : root_(std::move(root)) {}

std::string ProcFs::path(pid_t pid, std::string_view name) const {
    return root_ + '/' + std::to_string(pid) + '/' + std::string(name);
}

std::vector<pid_t> ProcFs::pids() const {
    return idsIn(root_);
}

std::optional<ProcStat> ProcFs::stat(pid_t pid) const {
    const auto text = readFileUpTo(path(pid, "stat"), smallEntry);
    return text ? parseProcStat(*text) : std::nullopt;
}

std::optional<pid_t> ProcFs::parent(pid_t pid) const {
    const auto entry = stat(pid);
    return entry ? std::optional(entry->parent) : std::nullopt;
}

std::optional<std::uint64_t> ProcFs::startTicks(pid_t pid) const {
    const auto entry = stat(pid);
    return entry ? std::optional(entry->startTicks) : std::nullopt;
}

std::optional<uid_t> ProcFs::uid(pid_t pid) const {
    return parseStatusUid(readFileUpTo(path(pid, "status"), smallEntry).value_or(""));
}

std::vector<std::string> ProcFs::commandLine(pid_t pid) const {
    // Asked of thousands at once; nearly all are short and come whole at the first reading.
    const Descriptor file(::open(path(pid, "cmdline").c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen()) {
        return {};
    }
    std::array<char, 4096> front; // NOLINT: filled by the call
    const ssize_t count = ::read(file.get(), front.data(), front.size());
    if (count >= 0 && static_cast<std::size_t>(count) < front.size()) {
        return parseCommandLine({front.data(), static_cast<std::size_t>(count)});
    }
    return parseCommandLine(readFileUpTo(path(pid, "cmdline"), longEntry).value_or(""));
}

std::vector<std::string> ProcFs::cgroupPaths(pid_t pid) const {
    return parseCgroupPaths(readFileUpTo(path(pid, "cgroup"), smallEntry).value_or(""));
}

std::optional<std::string> ProcFs::environmentVariable(pid_t pid, std::string_view name) const {
    const auto text = readFileUpTo(path(pid, "environ"), longEntry);
    for (const auto& entry : parseCommandLine(text.value_or(""))) {
        if (entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=') {
            return entry.substr(name.size() + 1);
        }
    }
    return std::nullopt;
}

std::optional<std::string> ProcFs::executable(pid_t pid) const {
    const auto link = path(pid, "exe");
    auto text = readLinkText(link);
    if (!text || text->front() != '/') {
        return std::nullopt;
    }
    // Comes first: a file may really be called "x (deleted)" to pass for "x".
    if (isSameFile(link, *text)) {
        return text;
    }
    const auto path = withoutDeletedMark(*text);
    const bool isBelieved = sharesMounts(pid) && (liesInMemory(path) || mayHaveLain(link, path));
    return isBelieved ? std::optional(path) : std::nullopt;
}

std::optional<std::string> ProcFs::executableClaim(pid_t pid) const {
    const auto text = readLinkText(path(pid, "exe"));
    return text ? std::optional(withoutDeletedMark(*text)) : std::nullopt;
}

bool ProcFs::isReadable(pid_t pid) const {
    return failureOf(path(pid, "exe")) == 0;
}

bool ProcFs::isOutOfSight(pid_t pid) const {
    return failureOf(path(pid, "exe")) == EACCES && !hasOnlyEndedThreads(pid);
}

std::optional<pid_t> ProcFs::survivingThread(pid_t pid) const {
    struct stat tasks {};
    // The links of that folder count the threads, the ended one among them; without asking it is 2.
    if (failureOf(path(pid, "exe")) != ENOENT || ::stat(path(pid, "task").c_str(), &tasks) != 0 ||
        tasks.st_nlink <= 3) {
        return std::nullopt;
    }
    const auto threads = idsIn(path(pid, "task"));
    const auto found = std::find_if(threads.begin(), threads.end(), [&](pid_t thread) {
        return thread != pid && isReadable(thread);
    });
    return found == threads.end() ? std::nullopt : std::optional(*found);
}

bool ProcFs::hasOnlyEndedThreads(pid_t pid) const {
    const auto hasEnded = [this](pid_t thread) {
        const auto its = stat(thread);
        return !its || its->state == 'Z' || its->state == 'X';
    };
    const auto first = stat(pid);
    if (!first || first->state != 'Z') {
        return false;
    }
    const auto threads = idsIn(path(pid, "task"));
    return !threads.empty() && std::all_of(threads.begin(), threads.end(), hasEnded);
}

bool ProcFs::sharesMounts(pid_t pid) const {
    const auto ours = readLinkText(root_ + "/self/ns/mnt");
    return ours == readLinkText(path(pid, "ns/mnt"));
}

std::vector<MountEntry> ProcFs::mounts(pid_t pid) const {
    const auto table = pid == 0 ? root_ + "/self/mountinfo" : path(pid, "mountinfo");
    return readMountTable(readFileUpTo(table, mountEntries).value_or(""));
}

std::optional<std::string> ProcFs::workingDirectory(pid_t pid) const {
    return readLinkText(path(pid, "cwd"));
}

void ProcFs::eachDescriptor(pid_t pid, const VisitEntry& visit) const {
    if (eachEntry(path(pid, "fd"), visit)) {
        return;
    }
    if (const auto thread = survivingThread(pid)) {
        eachEntry(path(*thread, "fd"), visit);
    }
}

std::vector<std::uint64_t> ProcFs::sockets(pid_t pid) const {
    std::vector<std::uint64_t> found;
    std::array<char, 64> text; // NOLINT: filled by the call; what is longer is no socket
    eachDescriptor(pid, [&](int folder, const char* name) {
        const auto size = readlinkat(folder, name, text.data(), text.size());
        const auto inode =
            size > 0 ? socketInode({text.data(), static_cast<std::size_t>(size)}) : std::nullopt;
        if (inode) {
            found.push_back(*inode);
        }
    });
    return found;
}

} // namespace velmoran
