// The place where a PipeWire server listens, as its clients find it: tries to connect, and notices
// when a server has come that wasn't there. Owned by the graph's reader; the loop's thread only.
#pragma once

#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <string>

namespace velmoran {

class ServerSocket {
public:
    /// By PIPEWIRE_REMOTE (a name or an absolute path; "pipewire-0" without it),
    /// PIPEWIRE_RUNTIME_DIR and XDG_RUNTIME_DIR, as pipewire(1) has them. Empty if no folder is
    /// known.
    static std::string defaultPath();

    ServerSocket(EventLoop& loop, std::string path);
    ~ServerSocket();
    ServerSocket(const ServerSocket&) = delete;
    ServerSocket& operator=(const ServerSocket&) = delete;

    const std::string& path() const { return path_; }
    /// A connected socket, the caller's to close; -1 if nobody listens.
    int connect() const;
    /// Calls it until it says true: now and then at first, since a server that has just gone is
    /// often back at once, and later only when something happens in the socket's folder.
    void callUntilFound(std::function<bool()> attempt);
    void stop();

private:
    void attempt();
    void watchFolder();
    void readFolder();

    EventLoop& loop_;
    std::string path_;
    std::string folder_;
    std::string name_;
    int inotify_ = -1;
    int folderWatch_ = -1;
    Subscription inotifyWatch_;
    Subscription retry_;
    int quickRetries_ = 0;
    std::function<bool()> attempt_;
};

} // namespace velmoran
