// The place where a PipeWire server listens, as its clients find it: tries to connect, and notices
// when a server has come that wasn't there. Owned by the graph's reader; the loop's thread only.
#pragma once

#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/NodeWatch.h"

#include <functional>
#include <optional>
#include <string>

namespace velmoran {

class ServerSocket {
public:
    /// By PIPEWIRE_REMOTE (a name or an absolute path; "pipewire-0" without it),
    /// PIPEWIRE_RUNTIME_DIR and XDG_RUNTIME_DIR, as pipewire(1) has them. Empty if no folder is
    /// known.
    static std::string defaultPath();
    /// A connected socket, the caller's to close; -1 if nobody listens there.
    static int connect(const std::string& path);

    ServerSocket(EventLoop& loop, std::string path);

    const std::string& path() const { return path_; }
    int connect() const { return connect(path_); }
    /// Calls it until it says true: now and then at first, since a server that has just gone is
    /// often back at once, and later only when something happens to it in its folder.
    void callUntilFound(std::function<bool()> attempt);
    void stop();

private:
    void attempt();
    void attemptIn(Seconds delay);

    EventLoop& loop_;
    std::string path_;
    std::optional<NodeWatch> watch_; ///< of the socket's folder
    Subscription retry_;
    int quickRetries_ = 0;
    std::function<bool()> attempt_;
};

} // namespace velmoran
