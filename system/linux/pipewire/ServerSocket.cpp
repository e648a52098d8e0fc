#include "system/linux/pipewire/ServerSocket.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {

namespace {

// A server binds its socket a moment before it listens, and systemd starts one on the first knock.
constexpr Seconds quickInterval = 0.05;
constexpr int quickLimit = 60;
// Only while the folder itself can't be watched: one may connect where one may not read.
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
      path_(std::move(path)) {}

int ServerSocket::connect(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket >= 0 &&
        ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

void ServerSocket::callUntilFound(std::function<bool()> attempt) {
    if (path_.empty()) {
        return;
    }
    attempt_ = std::move(attempt);
    quickRetries_ = quickLimit;
    const std::filesystem::path place(path_);
    NodeWatch::Receiver receiver;
    receiver.folderChanged = [this] {
        quickRetries_ = quickLimit;
        attemptIn(0);
    };
    // What `folderChanged` does is enough then.
    receiver.eventsLost = [] {
    };
    watch_.emplace(
        loop_, place.parent_path(),
        [name = place.filename().string()](std::string_view file) { return file == name; },
        std::move(receiver));
    this->attempt();
}

void ServerSocket::stop() {
    attempt_ = nullptr;
    retry_.reset();
    watch_.reset();
}

void ServerSocket::attempt() {
    if (attempt_()) {
        stop();
    } else if (quickRetries_ > 0) {
        --quickRetries_;
        attemptIn(quickInterval);
    } else if (!watch_ || !watch_->watchesFolder()) {
        attemptIn(slowInterval);
    }
}

// Never in the watch's own call, which may not end the watch.
void ServerSocket::attemptIn(Seconds delay) {
    retry_ = loop_.after(delay, [this] { attempt(); });
}

} // namespace velmoran
