#include "system/linux/apps/MountedImage.h"

#include "system/TextParsing.h"

#include <algorithm>
#include <set>

namespace velmoran {

namespace {

constexpr std::string_view door = "/dev/fuse";
constexpr std::size_t smallEntry = 4096;

bool isImage(const MountEntry& entry) {
    return entry.type.starts_with("fuse.") && entry.root == "/";
}

/// The mount that this program sees at that place, if it is an image's.
std::optional<MountEntry> imageMount(const std::vector<MountEntry>& mounts,
                                     const std::string& file) {
    const MountEntry* nearest = nullptr;
    for (const auto& entry : mounts) {
        if (isBelow(file, entry.folder) &&
            (!nearest || entry.folder.size() >= nearest->folder.size())) {
            nearest = &entry;
        }
    }
    if (!nearest || !isImage(*nearest)) {
        return std::nullopt;
    }
    // A mount further up that came later hides it.
    const auto number = fileNumber(file);
    return number && number->device == nearest->device ? std::optional(*nearest) : std::nullopt;
}

/// Who mounted it, by the kernel's word.
std::optional<uid_t> owner(const MountEntry& entry) {
    std::optional<uid_t> user;
    eachPiece(entry.options, ',', [&](std::string_view option) {
        if (consumePrefix(option, "user_id=")) {
            user = wholeNumber<uid_t>(option);
        }
    });
    return user;
}

/// What a process's descriptors say of the file system that it may serve.
struct Serving {
    bool hasDoor = false;
    std::set<unsigned> connections; ///< empty where the kernel doesn't tell
    bool holdsItself = false;       ///< has the file open that it runs
};

Serving servingOf(const ProcFs& proc, pid_t pid, const std::string& program) {
    Serving serving;
    proc.eachDescriptor(pid, [&](int, const char* name) {
        const auto link = readLinkText(proc.path(pid, std::string("fd/") + name));
        if (link == door) {
            serving.hasDoor = true;
            const auto info =
                readFileUpTo(proc.path(pid, std::string("fdinfo/") + name), smallEntry);
            if (const auto connection = parseFuseConnection(info.value_or(""))) {
                serving.connections.insert(*connection);
            }
        }
        const bool isItself = link && !program.empty() && withoutDeletedMark(*link) == program;
        serving.holdsItself = serving.holdsItself || isItself;
    });
    return serving;
}

} // namespace

std::optional<std::string> mountedImage(const ProcFs& proc, pid_t pid, const std::string& file) {
    const auto mounts = proc.mounts();
    const auto mount = imageMount(mounts, file);
    const auto user = mount ? owner(*mount) : std::nullopt;
    if (!user || user != proc.uid(pid)) {
        return std::nullopt;
    }
    std::set<std::string> images;
    std::ptrdiff_t servers = 0;
    for (const pid_t server : proc.pids()) {
        const auto claim = proc.executableClaim(server);
        // What serves it is called as the mount is, since it has named it by its own file.
        if (!claim || fileName(*claim) != fileName(mount->source) || proc.uid(server) != user) {
            continue;
        }
        const auto program = proc.executable(server);
        const auto serving = servingOf(proc, server, program.value_or(""));
        if (!program || !serving.hasDoor || !serving.holdsItself) {
            continue; // one that serves another's file has that open, not its own
        }
        // With a second one it may have been handed the door to another's files.
        if (serving.connections == std::set{fuseConnection(*mount)}) {
            return program;
        }
        if (serving.connections.empty()) {
            images.insert(*program);
            ++servers;
        }
    }
    // An older kernel: certain only if there is one such program, with as many processes as mounts.
    const auto sameName = std::count_if(mounts.begin(), mounts.end(), [&](const auto& entry) {
        return isImage(entry) && fileName(entry.source) == fileName(mount->source);
    });
    return images.size() == 1 && sameName <= servers ? std::optional(*images.begin())
                                                     : std::nullopt;
}

std::vector<std::string> foldersOfImage(const ProcFs& proc, const std::string& image) {
    std::vector<std::string> folders;
    for (const auto& entry : proc.mounts()) {
        if (isImage(entry) && fileName(entry.source) == fileName(image)) {
            folders.push_back(entry.folder);
        }
    }
    return folders;
}

bool servesFiles(const ProcFs& proc, pid_t pid) {
    return servingOf(proc, pid, "").hasDoor;
}

} // namespace velmoran
