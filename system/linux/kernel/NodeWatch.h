// The device nodes of one folder, by inotify: which come and go, and when one is opened or closed.
// The kernel doesn't say by whom. Owned by the reader of those devices; lives on the loop's thread.
#pragma once

#include "core/base/Subscription.h"
#include "system/linux/kernel/Descriptor.h"
#include "system/linux/kernel/EventLoop.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// What happened to one node since the last report. The kernel merges equal events that follow each
/// other, so each number is the least that it can have been.
struct NodeEvents {
    std::string path;
    int opens = 0;
    int closes = 0;

    bool operator==(const NodeEvents&) const = default;
};

class NodeWatch {
public:
    struct Receiver {
        /// Nodes may have come, gone, or changed who may read them.
        std::function<void()> folderChanged;
        /// In the order of the first event of each.
        std::function<void(const std::vector<NodeEvents>&)> nodesUsed;
        /// The kernel had more to tell than it could keep: nothing that was counted holds any more.
        std::function<void()> eventsLost;
    };

    /// `isNode` says by its file name whether something in the folder is of interest. The folder
    /// need not be there yet. While the kernel has no inotify descriptor or no watch left, it is
    /// asked again and again, and the folder counts as changed each time.
    NodeWatch(EventLoop& loop, std::string folder, std::function<bool(std::string_view)> isNode,
              Receiver receiver);
    NodeWatch(const NodeWatch&) = delete;
    NodeWatch& operator=(const NodeWatch&) = delete;

    /// From now on just these are watched for being opened. One that may not be read can't be; it
    /// is tried again at each call. A node that was made anew under its old name is watched anew.
    /// False if one that is there can't be watched, or the folder can't, where others may be.
    bool watchNodes(const std::vector<std::string>& paths);
    /// Whether the kernel watches the folder itself. While it isn't there, or may not be read, one
    /// on the way to it is watched, which doesn't tell of a right that comes later.
    bool watchesFolder() const { return folderWatch_ >= 0 && awaited_.empty(); }

    /// Whether something isn't watched because the kernel has no descriptor or no watch left.
    bool isShortOfWatches() const {
        return !descriptor_.isOpen() || folderIsShort_ || nodesAreShort_;
    }

    /// Another program may hold all descriptors and watches that the user has.
    static constexpr Seconds retryInterval = 5.0;

private:
    void open();
    void retryWhileShort();
    void retry();
    void watchFolder();
    void read();

    EventLoop& loop_;
    std::string folder_;
    std::function<bool(std::string_view)> isNode_;
    Receiver receiver_;
    Descriptor descriptor_;
    int folderWatch_ = -1;
    std::string awaited_; ///< the name of the next folder on the way, while the folder isn't there
    bool folderIsShort_ = false;  ///< of a watch
    bool folderIsHidden_ = false; ///< it may be there, but can't be watched
    bool nodesAreShort_ = false;
    bool watchesNodes_ = false;        ///< and not the folder alone
    std::map<int, std::string> nodes_; ///< by inotify's watch
    Subscription retry_;
    Subscription readable_; ///< last, so that its end is the first
};

} // namespace velmoran
