// Who has a device node open, from the descriptors under /proc. The kernel gives no list by node,
// so this walks every process that may be looked at: asked only when somebody has just opened or
// closed one. Keeps nothing but the place of /proc; any thread.
#pragma once

#include "system/linux/kernel/ProcFs.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velmoran {

/// A device node, or the plain file that stands in for one.
struct DeviceNode {
    std::string path;
    std::uint64_t device = 0;  ///< of the file system that it stands on
    std::uint64_t inode = 0;   ///< on that file system
    std::uint64_t special = 0; ///< major and minor number; 0 for what is no device node

    bool operator==(const DeviceNode&) const = default;
};

/// Nothing if there is no such file.
std::optional<DeviceNode> deviceNodeAt(const std::string& path);

/// One process that has a node open.
struct NodeHolder {
    pid_t pid = 0;
    std::vector<int> descriptors; ///< at least one when found
    bool maps = false;            ///< memory of the node is mapped: pictures go through it

    bool operator==(const NodeHolder&) const = default;
};

class NodeHolders {
public:
    /// The process `except` (this program's own) is passed over.
    NodeHolders(std::string procRoot, pid_t except);

    /// For each node its holders, the newest process first. A process that can't be looked at isn't
    /// found. Descriptors that only name the node (O_PATH) don't hold it. Links are followed only
    /// where their text already ends like the node's path: anything else might stand on a file
    /// system that doesn't answer.
    std::vector<std::vector<NodeHolder>> of(const std::vector<DeviceNode>& nodes) const;
    bool maps(pid_t pid, const DeviceNode& node) const;
    /// Whether one of these descriptors still is the node.
    bool stillHolds(const NodeHolder& holder, const DeviceNode& node) const;
    /// Whether the process is there and lets nobody look what it holds.
    bool isOutOfSight(pid_t pid) const { return proc_.isOutOfSight(pid); }

private:
    bool isNode(int folder, const char* entry, const DeviceNode& node) const;
    void scan(pid_t pid, const std::vector<DeviceNode>& nodes,
              std::vector<std::vector<NodeHolder>>& found) const;

    ProcFs proc_;
    pid_t except_;
};

} // namespace velmoran
