#include "system/linux/nodes/NodeHolders.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/ProcMaps.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmoran {

namespace {

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

DeviceNode nodeFrom(const struct stat& status, const std::string& path = {}) {
    const bool isSpecial = S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
    return {.path = path,
            .device = status.st_dev,
            .inode = status.st_ino,
            .special = isSpecial ? status.st_rdev : 0};
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
        const auto flags =
            consumePrefix(line, "flags:\t") ? consumeNumber<unsigned>(line, 8) : std::nullopt;
        return (flags.value_or(0) & unsigned{O_PATH}) != 0;
    });
}

} // namespace

std::optional<DeviceNode> deviceNodeAt(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return nodeFrom(status, path);
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
            scan(pid, nodes, found);
        }
    }
    return found;
}

void NodeHolders::scan(pid_t pid, const std::vector<DeviceNode>& nodes,
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
            const auto descriptor = wholeNumber<int>(name);
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
    return std::any_of(holder.descriptors.begin(), holder.descriptors.end(), [&](int descriptor) {
        const auto entry = proc_.path(shownAs, "fd/" + std::to_string(descriptor));
        const auto link = readLinkText(entry);
        return link && link->ends_with(node.path) && isNode(AT_FDCWD, entry.c_str(), node);
    });
}

} // namespace velmoran
