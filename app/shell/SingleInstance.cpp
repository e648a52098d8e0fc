#include "app/shell/SingleInstance.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {

namespace {

struct Address {
    sockaddr_un value{};
    socklen_t size = 0;
};

/// In the abstract namespace, with the user and the session's runtime folder in the name: each user
/// has a program of their own, and so has a session that is closed off from the user's other one.
Address addressOf(const std::string& name) {
    const char* session = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
    const std::string full =
        name + "-" + std::to_string(::getuid()) + (session ? std::string("-") + session : "");
    Address address;
    address.value.sun_family = AF_UNIX;
    const auto length = std::min(full.size(), sizeof address.value.sun_path - 1);
    std::memcpy(&address.value.sun_path[1], full.data(), length);
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    return address;
}

const sockaddr* generic(const Address& address) {
    return reinterpret_cast<const sockaddr*>(&address.value);
}

bool isOurUsers(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == ::getuid();
}

} // namespace

SingleInstance::SingleInstance(const std::string& name) {
    const auto address = addressOf(name);
    socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ < 0) {
        return;
    }
    if (::bind(socket_, generic(address), address.size) == 0 && ::listen(socket_, 8) == 0) {
        role_ = Role::first;
        notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { accept(); });
        return;
    }
    // To connect is the message; a peer of another user isn't the program that we look for.
    if (errno == EADDRINUSE && ::connect(socket_, generic(address), address.size) == 0 &&
        isOurUsers(socket_)) {
        role_ = Role::second;
    }
}

SingleInstance::~SingleInstance() {
    notifier_.reset();
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

void SingleInstance::accept() {
    const int peer = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (peer < 0) {
        return;
    }
    const bool ours = isOurUsers(peer);
    ::close(peer);
    if (ours && show_) {
        show_();
    }
}

} // namespace velmoran
