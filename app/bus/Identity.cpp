#include "app/bus/Identity.h"

#include "core/base/Uuid.h"

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {

namespace {

/// Nothing else is ever connected to for a caller.
constexpr const char* identityPrefix = "org.velmoran.Identity-";

struct IdentityPlace {
    sockaddr_un value{};
    socklen_t size = 0;

    explicit IdentityPlace(const std::string& place) {
        value.sun_family = AF_UNIX;
        std::memcpy(&value.sun_path[1], place.data(), place.size());
        size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + place.size());
    }
    const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&value); }
};

int openSocket() {
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

} // namespace

IdentityQuestion::IdentityQuestion()
    : place_(identityPrefix + Uuid::random().text()),
      socket_(openSocket()) {
    const IdentityPlace address(place_);
    if (::bind(socket_, address.generic(), address.size) == 0) {
        ::listen(socket_, SOMAXCONN);
    }
}

IdentityQuestion::~IdentityQuestion() {
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

bool IdentityQuestion::isAnsweredBy(std::int32_t pid) const {
    // As many as can be waiting: more would have been turned away.
    for (int count = 0; count <= SOMAXCONN; ++count) {
        const int visitor = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
        if (visitor < 0) {
            return false;
        }
        ucred who{};
        socklen_t size = sizeof who;
        const bool said = ::getsockopt(visitor, SOL_SOCKET, SO_PEERCRED, &who, &size) == 0;
        ::close(visitor);
        if (said && who.pid == pid) {
            return true;
        }
    }
    return false;
}

bool answerIdentity(const std::string& place) {
    if (!place.starts_with(identityPrefix) || place.size() >= sizeof(sockaddr_un::sun_path)) {
        return false;
    }
    const IdentityPlace address(place);
    const int socket = openSocket();
    if (socket >= 0) {
        // It waits there with the kernel's word on who came, also when we are gone again.
        [[maybe_unused]] const int came = ::connect(socket, address.generic(), address.size);
        ::close(socket);
    }
    return true;
}

} // namespace velmoran
