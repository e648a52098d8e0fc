#include "system/linux/pipewire/ServerSocket.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {

namespace {

// A server binds its socket a moment before it listens, and systemd starts one on the first knock.
constexpr Seconds quickInterval = 0.05;
constexpr int quickLimit = 60;
// Only while there is no folder to watch.
constexpr Seconds slowInterval = 2.0;

std::string environment(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? std::string() : std::string(value);
}

} // namespace

std::string ServerSocket::defaultPath() {
    auto remote = environment("PIPEWIRE_REMOTE");
    if (remote.empty()) {
        remote = "pipewire-0";
    }
    if (remote.front() == '/') {
        return remote;
    }
    for (const char* name : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"}) {
        if (auto folder = environment(name); !folder.empty()) {
            return folder + '/' + remote;
        }
    }
    return {};
}

ServerSocket::ServerSocket(EventLoop& loop, std::string path)
    : loop_(loop),
      path_(std::move(path)) {
    const auto slash = path_.rfind('/');
    if (slash != std::string::npos) {
        folder_ = slash == 0 ? "/" : path_.substr(0, slash);
        name_ = path_.substr(slash + 1);
    }
}

ServerSocket::~ServerSocket() {
    stop();
}

int ServerSocket::connect() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.empty() || path_.size() >= sizeof address.sun_path) {
        return -1;
    }
    std::memcpy(address.sun_path, path_.c_str(), path_.size() + 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket >= 0 &&
        ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

void ServerSocket::callUntilFound(std::function<bool()> attempt) {
    attempt_ = std::move(attempt);
    quickRetries_ = quickLimit;
    if (inotify_ < 0) {
        inotify_ = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
        if (inotify_ >= 0) {
            inotifyWatch_ = loop_.watch(inotify_, EPOLLIN, [this](std::uint32_t) { readFolder(); });
        }
    }
    watchFolder();
    this->attempt();
}

void ServerSocket::stop() {
    attempt_ = nullptr;
    retry_.reset();
    inotifyWatch_.reset();
    if (inotify_ >= 0) {
        ::close(inotify_);
    }
    inotify_ = -1;
    folderWatch_ = -1;
}

void ServerSocket::watchFolder() {
    if (inotify_ >= 0 && folderWatch_ < 0 && !folder_.empty()) {
        folderWatch_ = ::inotify_add_watch(inotify_, folder_.c_str(),
                                           IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_ONLYDIR);
    }
}

void ServerSocket::readFolder() {
    alignas(inotify_event) std::array<char, 4096> buffer;
    bool isOurs = false;
    for (;;) {
        const auto size = ::read(inotify_, buffer.data(), buffer.size());
        if (size <= 0) {
            break;
        }
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            if ((event.mask & IN_IGNORED) != 0) {
                folderWatch_ = -1; // the folder itself has gone
            }
            isOurs = isOurs || (event.mask & (IN_IGNORED | IN_Q_OVERFLOW)) != 0 ||
                     (event.len > 0 && name_ == buffer.data() + at + sizeof event);
            at += sizeof event + event.len;
        }
    }
    if (isOurs && attempt_) {
        quickRetries_ = quickLimit;
        attempt();
    }
}

void ServerSocket::attempt() {
    retry_.reset();
    if (attempt_()) {
        stop();
        return;
    }
    watchFolder();
    if (quickRetries_ > 0) {
        --quickRetries_;
        retry_ = loop_.after(quickInterval, [this] { attempt(); });
    } else if (folderWatch_ < 0 && !folder_.empty()) {
        retry_ = loop_.after(slowInterval, [this] { attempt(); });
    }
}

} // namespace velmoran
