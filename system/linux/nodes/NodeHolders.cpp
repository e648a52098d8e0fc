#include "system/linux/nodes/NodeHolders.h"

#include "system/linux/kernel/ProcMaps.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmoran {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

template <typename Number>
std::optional<Number> numberFrom(std::string_view text) {
    Number number = 0;
    const auto* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end) {
        return std::nullopt;
    }
    return number;
}

DeviceNode nodeFrom(const struct stat& status) {
    DeviceNode node;
    node.device = status.st_dev;
    node.inode = status.st_ino;
    node.special = S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode) ? status.st_rdev : 0;
    return node;
}

// A device is the same by its numbers, through whatever file it was opened.
bool same(const DeviceNode& one, const DeviceNode& other) {
    if (one.special != 0 || other.special != 0) {
        return one.special == other.special;
    }
    return one.device == other.device && one.inode == other.inode;
}

// Calls `line` with every line of a file until it returns true, and says whether it did.
bool anyLine(int folder, const std::string& path,
             const std::function<bool(std::string_view)>& line) {
    const int descriptor = ::openat(folder, path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const File file(::fdopen(descriptor, "r"));
    if (!file) {
        ::close(descriptor);
        return false;
    }
    char* text = nullptr;
    std::size_t room = 0;
    bool found = false;
    for (ssize_t length = 0; !found && (length = ::getline(&text, &room, file.get())) >= 0;) {
        found = line(std::string_view(text, static_cast<std::size_t>(length)));
    }
    std::free(text); // getline's own buffer
    return found;
}

// Opened with O_PATH.
bool onlyNames(int folder, const char* descriptor) {
    return anyLine(folder, std::string("../fdinfo/") + descriptor, [](std::string_view line) {
        unsigned flags = 0;
        constexpr std::string_view key = "flags:\t";
        if (!line.starts_with(key)) {
            return false;
        }
        line.remove_prefix(key.size());
        std::from_chars(line.data(), line.data() + line.size(), flags, 8);
        return (flags & unsigned{O_PATH}) != 0;
    });
}

} // namespace

std::optional<DeviceNode> deviceNodeAt(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    auto node = nodeFrom(status);
    node.path = path;
    return node;
}

NodeHolders::NodeHolders(std::string procRoot, pid_t except)
    : proc_(std::move(procRoot)),
      except_(except) {}

std::vector<std::vector<NodeHolder>> NodeHolders::of(const std::vector<DeviceNode>& nodes) const {
    std::vector<std::vector<NodeHolder>> found(nodes.size());
    if (nodes.empty()) {
        return found;
    }
    auto pids = proc_.pids();
    std::sort(pids.rbegin(), pids.rend());
    for (const auto pid : pids) {
        if (pid != except_) {
            look(pid, nodes, found);
        }
    }
    return found;
}

void NodeHolders::look(pid_t pid, const std::vector<DeviceNode>& nodes,
                       std::vector<std::vector<NodeHolder>>& found) const {
    std::array<char, 4096> text; // NOLINT: filled by the call
    proc_.eachDescriptor(pid, [&](int folder, const char* name) {
        const ssize_t length = ::readlinkat(folder, name, text.data(), text.size());
        if (length <= 0) {
            return;
        }
        const std::string_view link(text.data(), static_cast<std::size_t>(length));
        for (std::size_t index = 0; index < nodes.size(); ++index) {
            // A process in a container may see the same node below another root.
            if (!link.ends_with(nodes[index].path) || !isNode(folder, name, nodes[index])) {
                continue;
            }
            const auto descriptor = numberFrom<int>(name);
            if (!descriptor || onlyNames(folder, name)) {
                continue;
            }
            auto& holders = found[index];
            if (holders.empty() || holders.back().pid != pid) {
                holders.emplace_back();
                holders.back().pid = pid;
                holders.back().maps = maps(pid, nodes[index]);
            }
            holders.back().descriptors.push_back(*descriptor);
        }
    });
}

bool NodeHolders::isNode(int folder, const char* entry, const DeviceNode& node) const {
    struct stat status {};
    return ::fstatat(folder, entry, &status, 0) == 0 && same(nodeFrom(status), node);
}

bool NodeHolders::maps(pid_t pid, const DeviceNode& node) const {
    const auto shownAs = proc_.survivingThread(pid).value_or(pid);
    return anyLine(AT_FDCWD, proc_.path(shownAs, "maps"), [&](std::string_view line) {
        // Looked at before it is parsed: a browser has thousands of these lines.
        if (line.find(node.path) == std::string_view::npos) {
            return false;
        }
        const auto mapping = parseProcMapping(line);
        return mapping && mapping->path.ends_with(node.path);
    });
}

bool NodeHolders::stillHolds(const NodeHolder& holder, const DeviceNode& node) const {
    const auto shownAs = proc_.survivingThread(holder.pid).value_or(holder.pid);
    const Folder descriptors(::opendir(proc_.path(shownAs, "fd").c_str()));
    return descriptors &&
           std::any_of(holder.descriptors.begin(), holder.descriptors.end(), [&](int descriptor) {
               const int folder = ::dirfd(descriptors.get());
               const auto entry = std::to_string(descriptor);
               std::array<char, 4096> text{};
               const ssize_t length = ::readlinkat(folder, entry.c_str(), text.data(), text.size());
               return length > 0 &&
                      std::string_view(text.data(), static_cast<std::size_t>(length))
                          .ends_with(node.path) &&
                      isNode(folder, entry.c_str(), node);
           });
}

} // namespace velmoran
