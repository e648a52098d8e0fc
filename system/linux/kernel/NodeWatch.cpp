#include "system/linux/kernel/NodeWatch.h"

#include "system/linux/kernel/Files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace velmoran {

namespace {

constexpr std::uint32_t nodeMask = IN_OPEN | IN_CLOSE_WRITE | IN_CLOSE_NOWRITE;
// A change of attributes is how the right to read a node comes to the user's session.
constexpr std::uint32_t folderMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                     IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

std::string folderAbove(const std::string& folder) {
    const auto slash = folder.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : folder.substr(0, slash);
}

/// Whether that is for want of watches and not of a right.
bool isShortage(int error) {
    return error == ENOSPC || error == ENOMEM;
}

} // namespace

NodeWatch::NodeWatch(EventLoop& loop, std::string folder,
                     std::function<bool(std::string_view)> isNode, Receiver receiver)
    : loop_(loop),
      folder_(std::move(folder)),
      isNode_(std::move(isNode)),
      receiver_(std::move(receiver)) {
    while (folder_.size() > 1 && folder_.back() == '/') {
        folder_.pop_back();
    }
    open();
    retryWhileShort();
}

void NodeWatch::open() {
    descriptor_ = Descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (descriptor_.isOpen()) {
        watchFolder();
        readable_ = loop_.watch(descriptor_.get(), EPOLLIN, [this](std::uint32_t) { read(); });
    }
}

void NodeWatch::retryWhileShort() {
    if (!isShortOfWatches()) {
        retry_.reset();
    } else if (!retry_) {
        retry_ = loop_.every(retryInterval, [this] { retry(); });
    }
}

void NodeWatch::retry() {
    const bool watchedFolder = watchesFolder();
    if (!descriptor_.isOpen()) {
        open();
    } else if (folderIsShort_) {
        watchFolder();
    }
    retryWhileShort();
    // Nobody tells of nodes that come meanwhile, so they are looked for.
    if (watchesNodes_ || watchesFolder() != watchedFolder) {
        receiver_.folderChanged();
    }
}

void NodeWatch::watchFolder() {
    if (folderWatch_ >= 0) {
        ::inotify_rm_watch(descriptor_.get(), folderWatch_);
    }
    awaited_.clear();
    folderIsShort_ = false;
    folderIsHidden_ = false;
    std::string folder = folder_;
    for (;;) {
        const auto mask = awaited_.empty() ? folderMask : folderMask & ~std::uint32_t{IN_ATTRIB};
        folderWatch_ = ::inotify_add_watch(descriptor_.get(), folder.c_str(), mask);
        if (folderWatch_ < 0) {
            folderIsShort_ = isShortage(errno);
            folderIsHidden_ |= errno != ENOENT && errno != ENOTDIR;
            if (folderIsShort_ || folder == "/" || folder == ".") {
                return;
            }
            awaited_ = fileName(folder);
            folder = folderAbove(folder);
            continue;
        }
        folderIsHidden_ = folderIsHidden_ && !awaited_.empty();
        // What was made between the two looks isn't announced any more.
        const auto next = folder == "/" ? folder + awaited_ : folder + '/' + awaited_;
        if (awaited_.empty() || ::access(next.c_str(), R_OK) != 0) {
            return;
        }
        ::inotify_rm_watch(descriptor_.get(), folderWatch_);
        awaited_.clear();
        folder = folder_;
    }
}

bool NodeWatch::watchNodes(const std::vector<std::string>& paths) {
    watchesNodes_ = true;
    nodesAreShort_ = false;
    std::map<int, std::string> watched;
    bool watchesAll = descriptor_.isOpen() && !folderIsHidden_;
    for (const auto& path : paths) {
        // The same file gives the same watch, a new one under the old name another.
        const int watch = ::inotify_add_watch(descriptor_.get(), path.c_str(), nodeMask);
        if (watch >= 0) {
            watched.emplace(watch, path);
        } else if (errno != ENOENT) {
            nodesAreShort_ |= isShortage(errno);
            watchesAll = false;
        }
    }
    for (const auto& [watch, path] : nodes_) {
        if (!watched.contains(watch)) {
            ::inotify_rm_watch(descriptor_.get(), watch);
        }
    }
    nodes_ = std::move(watched);
    retryWhileShort();
    return watchesAll;
}

void NodeWatch::read() {
    std::vector<NodeEvents> used;
    bool folderChanged = false;
    bool pathChanged = false;
    bool lost = false;
    alignas(inotify_event) std::array<char, 8192> buffer{};
    for (ssize_t length = 0;
         (length = ::read(descriptor_.get(), buffer.data(), buffer.size())) > 0;) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const std::string_view name =
                event.len == 0 ? std::string_view() : buffer.data() + at + sizeof event;
            at += sizeof event + event.len;
            if ((event.mask & IN_Q_OVERFLOW) != 0) {
                lost = true;
            } else if (event.wd == folderWatch_) {
                if (!awaited_.empty()) {
                    pathChanged |= name == awaited_ || name.empty();
                } else if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
                    pathChanged = true;
                } else {
                    folderChanged |= isNode_(name);
                }
            } else if (const auto node = nodes_.find(event.wd); node != nodes_.end()) {
                if ((event.mask & IN_IGNORED) != 0) {
                    nodes_.erase(node);
                    folderChanged = true;
                    continue;
                }
                auto entry = std::find_if(used.begin(), used.end(), [&](const NodeEvents& other) {
                    return other.path == node->second;
                });
                if (entry == used.end()) {
                    entry = used.insert(entry, NodeEvents{.path = node->second});
                }
                entry->opens += (event.mask & IN_OPEN) != 0 ? 1 : 0;
                entry->closes += (event.mask & (IN_CLOSE_WRITE | IN_CLOSE_NOWRITE)) != 0 ? 1 : 0;
            }
        }
    }
    if (pathChanged || lost) {
        watchFolder();
        retryWhileShort();
        folderChanged = true;
    }
    // What the receivers do may not outlive this object; nothing is touched after the last call.
    if (folderChanged) {
        receiver_.folderChanged();
    }
    if (lost) {
        receiver_.eventsLost();
    } else if (!used.empty()) {
        receiver_.nodesUsed(used);
    }
}

} // namespace velmoran
