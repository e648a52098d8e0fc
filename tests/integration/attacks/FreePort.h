// A port of this computer's own that nobody listens at now.
#pragma once

#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace velmoran::attacks {

inline std::string freePort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const bool found = bind(socket, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                       getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
    close(socket);
    if (!found) {
        throw std::runtime_error("no port is free");
    }
    return std::to_string(ntohs(address.sin_port));
}

} // namespace velmoran::attacks
