#include "system/linux/kernel/ProcFs.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>

namespace velmoran {

namespace {

constexpr std::size_t smallEntry = 16UL * 1024;
/// A command line or environment may be megabytes long; what names a program stands at its front.
constexpr std::size_t longEntry = 128UL * 1024;
constexpr std::string_view deletedMark = " (deleted)";

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

std::optional<std::string> readLinkAt(int folder, const char* name) {
    std::array<char, PATH_MAX> text; // NOLINT: filled by the call
    const ssize_t size = readlinkat(folder, name, text.data(), text.size());
    if (size <= 0 || static_cast<std::size_t>(size) >= text.size()) {
        return std::nullopt;
    }
    return std::string(text.data(), static_cast<std::size_t>(size));
}

template <typename Number>
std::optional<Number> entryNumber(const char* name) {
    const std::string_view text = name;
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number < 0) {
        return std::nullopt;
    }
    return number;
}

/// True if the folder can be read and isn't empty.
bool eachEntry(const std::string& path, const ProcFs::TakeEntry& take) {
    const Directory directory(opendir(path.c_str()));
    bool any = false;
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        if (entry->d_name[0] != '.') {
            any = true;
            take(dirfd(directory.get()), entry->d_name);
        }
    }
    return any;
}

bool isSameFile(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

} // namespace

std::optional<std::string> readFileUpTo(const std::string& path, std::size_t limit) {
    // Not to be held up by a pipe that somebody put in a file's place.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) {
        return std::nullopt;
    }
    struct stat kind {};
    if (::fstat(file, &kind) != 0 || !S_ISREG(kind.st_mode)) {
        ::close(file);
        return std::nullopt;
    }
    std::string text;
    bool failed = false;
    while (text.size() < limit) {
        const std::size_t before = text.size();
        const std::size_t step = std::min<std::size_t>(limit - before, 4096);
        text.resize(before + step);
        ssize_t count = 0;
        do {
            count = ::read(file, text.data() + before, step);
        } while (count < 0 && errno == EINTR);
        text.resize(before + (count > 0 ? static_cast<std::size_t>(count) : 0));
        if (count <= 0) {
            failed = count < 0;
            break;
        }
    }
    ::close(file);
    if (failed) {
        return std::nullopt;
    }
    return text;
}

std::optional<std::string> readLinkText(const std::string& path) {
    return readLinkAt(AT_FDCWD, path.c_str());
}

ProcFs::ProcFs(std::string root) : root_(std::move(root)) {}

std::string ProcFs::path(pid_t pid, std::string_view name) const {
    return root_ + '/' + std::to_string(pid) + '/' + std::string(name);
}

std::vector<pid_t> ProcFs::pids() const {
    std::vector<pid_t> found;
    const Directory directory(opendir(root_.c_str()));
    if (!directory) {
        return found;
    }
    while (const dirent* entry = readdir(directory.get())) {
        if (const auto pid = entryNumber<pid_t>(entry->d_name); pid && *pid > 0) {
            found.push_back(*pid);
        }
    }
    return found;
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
    const auto text = readFileUpTo(path(pid, "status"), smallEntry);
    return text ? parseStatusUid(*text) : std::nullopt;
}

std::optional<std::string> ProcFs::comm(pid_t pid) const {
    auto text = readFileUpTo(path(pid, "comm"), smallEntry);
    if (text && text->ends_with('\n')) {
        text->pop_back();
    }
    return text;
}

std::vector<std::string> ProcFs::commandLine(pid_t pid) const {
    // Asked of thousands at once; nearly all are short and come whole at the first reading.
    const int file = ::open(path(pid, "cmdline").c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return {};
    }
    std::array<char, 4096> front; // NOLINT: filled by the call
    const ssize_t count = ::read(file, front.data(), front.size());
    ::close(file);
    if (count >= 0 && static_cast<std::size_t>(count) < front.size()) {
        return parseCommandLine({front.data(), static_cast<std::size_t>(count)});
    }
    const auto text = readFileUpTo(path(pid, "cmdline"), longEntry);
    return text ? parseCommandLine(*text) : std::vector<std::string>{};
}

std::vector<std::string> ProcFs::cgroupPaths(pid_t pid) const {
    const auto text = readFileUpTo(path(pid, "cgroup"), smallEntry);
    return text ? parseCgroupPaths(*text) : std::vector<std::string>{};
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
    if (!sharesMounts(pid)) {
        return std::nullopt;
    }
    if (text->ends_with(deletedMark)) {
        text->resize(text->size() - deletedMark.size());
    }
    return text;
}

std::optional<std::string> ProcFs::executableClaim(pid_t pid) const {
    auto text = readLinkText(path(pid, "exe"));
    if (text && text->ends_with(deletedMark)) {
        text->resize(text->size() - deletedMark.size());
    }
    return text;
}

bool ProcFs::isReadable(pid_t pid) const {
    return readLinkText(path(pid, "exe")).has_value();
}

bool ProcFs::isOutOfSight(pid_t pid) const {
    std::array<char, 1> text; // NOLINT: filled by the call
    return readlink(path(pid, "exe").c_str(), text.data(), text.size()) < 0 && errno == EACCES &&
           !hasOnlyEndedThreads(pid);
}

std::optional<pid_t> ProcFs::survivingThread(pid_t pid) const {
    std::array<char, 1> text; // NOLINT: filled by the call
    struct stat tasks {};
    // The links of that folder count the threads, the ended one among them; without asking it is 2.
    if (readlink(path(pid, "exe").c_str(), text.data(), text.size()) >= 0 || errno != ENOENT ||
        ::stat(path(pid, "task").c_str(), &tasks) != 0 || tasks.st_nlink <= 3) {
        return std::nullopt;
    }
    const Directory threads(opendir(path(pid, "task").c_str()));
    while (const dirent* entry = threads ? readdir(threads.get()) : nullptr) {
        const auto thread = entryNumber<pid_t>(entry->d_name);
        if (thread && *thread != pid && isReadable(*thread)) {
            return thread;
        }
    }
    return std::nullopt;
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
    const Directory threads(opendir(path(pid, "task").c_str()));
    while (const dirent* entry = threads ? readdir(threads.get()) : nullptr) {
        const auto thread = entryNumber<pid_t>(entry->d_name);
        if (thread && !hasEnded(*thread)) {
            return false;
        }
    }
    return threads != nullptr;
}

bool ProcFs::sharesMounts(pid_t pid) const {
    const auto ours = readLinkText(root_ + "/self/ns/mnt");
    return ours == readLinkText(path(pid, "ns/mnt"));
}

std::optional<std::string> ProcFs::workingDirectory(pid_t pid) const {
    return readLinkText(path(pid, "cwd"));
}

void ProcFs::eachDescriptor(pid_t pid, const TakeEntry& take) const {
    if (eachEntry(path(pid, "fd"), take)) {
        return;
    }
    if (const auto thread = survivingThread(pid)) {
        eachEntry(path(*thread, "fd"), take);
    }
}

std::vector<DescriptorLink> ProcFs::descriptors(pid_t pid) const {
    std::vector<DescriptorLink> found;
    eachDescriptor(pid, [&](int folder, const char* name) {
        const auto number = entryNumber<int>(name);
        auto target = number ? readLinkAt(folder, name) : std::nullopt;
        if (target) {
            found.push_back({.number = *number, .target = std::move(*target)});
        }
    });
    return found;
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
