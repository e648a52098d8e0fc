#include "app/shell/SingleInstance.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <poll.h>
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
std::string fullName(const std::string& name) {
    const char* session = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
    return name + "-" + std::to_string(::getuid()) + (session ? std::string("-") + session : "");
}

Address addressOf(const std::string& place) {
    Address address;
    address.value.sun_family = AF_UNIX;
    const auto length = std::min(place.size(), sizeof address.value.sun_path - 1);
    std::memcpy(&address.value.sun_path[1], place.data(), length);
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    return address;
}

const sockaddr* generic(const Address& address) {
    return reinterpret_cast<const sockaddr*>(&address.value);
}

class Socket {
public:
    Socket() : descriptor_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
    ~Socket() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int descriptor() const { return descriptor_; }
    int release() { return std::exchange(descriptor_, -1); }
    bool connect(const std::string& place) const {
        const auto address = addressOf(place);
        return ::connect(descriptor_, generic(address), address.size) == 0;
    }

private:
    int descriptor_;
};

/// The process that listens at the other end.
ucred peerOf(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0
               ? peer
               : ucred{.pid = 0, .uid = static_cast<uid_t>(-1), .gid = static_cast<gid_t>(-1)};
}

/// The process that has written the next byte, by the kernel's word; 0 if none comes.
pid_t writerOf(int socket, int milliseconds) {
    pollfd readable{.fd = socket, .events = POLLIN, .revents = 0};
    if (::poll(&readable, 1, milliseconds) != 1) {
        return 0;
    }
    char byte = 0;
    iovec place{.iov_base = &byte, .iov_len = 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))]; // NOLINT(*-avoid-c-arrays)
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (::recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != 1) {
        return 0;
    }
    const auto* header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_level != SOL_SOCKET ||
        header->cmsg_type != SCM_CREDENTIALS) {
        return 0;
    }
    ucred writer{};
    std::memcpy(&writer, CMSG_DATA(header), sizeof writer);
    return writer.pid;
}

} // namespace

SingleInstance::SingleInstance(const std::string& name,
                               std::function<bool(const PeerProgram&)> isVelmoran)
    : isVelmoran_(std::move(isVelmoran)) {
    const auto full = fullName(name);
    for (int number = 1; number <= places; ++number) {
        const auto place = number == 1 ? full : std::to_string(number) + "-" + full;
        if (listen(place)) {
            return;
        }
        auto obstacle = ask(place);
        if (!obstacle) {
            role_ = Role::second;
            return;
        }
        if (listen(place)) {
            return; // it has gone meanwhile
        }
        obstacles_.push_back(std::move(*obstacle));
    }
}

SingleInstance::~SingleInstance() {
    notifier_.reset();
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

bool SingleInstance::listen(const std::string& place) {
    Socket socket;
    const auto address = addressOf(place);
    if (::bind(socket.descriptor(), generic(address), address.size) != 0 ||
        ::listen(socket.descriptor(), 8) != 0) {
        return false;
    }
    role_ = Role::first;
    socket_ = socket.release();
    notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { accept(); });
    return true;
}

/// Who listens there, if it isn't a Velmoran that answers. To connect is the message. The program
/// of whoever listens says little by itself: somebody may have begun to listen, let a child keep
/// the socket and become Velmoran's program. So Velmoran answers, and only an answer counts that is
/// written after that look, by that very process.
std::optional<SingleInstance::Obstacle> SingleInstance::ask(const std::string& place) const {
    const Socket looking;
    if (!looking.connect(place)) {
        return Obstacle(); // it has just gone, or takes nobody
    }
    const auto peer = peerOf(looking.descriptor());
    Obstacle obstacle{.program = programOf(peer.pid)};
    obstacle.isVelmoran = peer.uid == ::getuid() && isVelmoran_(obstacle.program);
    if (obstacle.isVelmoran) {
        const Socket asking;
        const int wanted = 1;
        if (::setsockopt(asking.descriptor(), SOL_SOCKET, SO_PASSCRED, &wanted, sizeof wanted) ==
                0 &&
            asking.connect(place) &&
            writerOf(asking.descriptor(), patienceMilliseconds) == peer.pid) {
            return std::nullopt;
        }
    }
    return obstacle;
}

void SingleInstance::accept() {
    const int peer = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (peer < 0) {
        return;
    }
    const bool ours = peerOf(peer).uid == ::getuid();
    if (ours) {
        ::send(peer, "", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    ::close(peer);
    if (ours && show_) {
        show_();
    }
}

} // namespace velmoran
