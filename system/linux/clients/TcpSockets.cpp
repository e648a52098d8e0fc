#include "system/linux/clients/TcpSockets.h"

#include "system/linux/kernel/SocketDiag.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <utility>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace velmoran {

namespace {

// Of IPv4 addresses where IPv6 ones are wanted.
constexpr std::array<std::uint8_t, 12> mappedPrefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

TcpSocket::End endFrom(bool isIPv4, const void* address, std::uint16_t port) {
    TcpSocket::End end{.address = {}, .port = ntohs(port)};
    if (isIPv4) {
        std::copy(mappedPrefix.begin(), mappedPrefix.end(), end.address.begin());
        std::memcpy(end.address.data() + mappedPrefix.size(), address, 4);
    } else {
        std::memcpy(end.address.data(), address, end.address.size());
    }
    return end;
}

void addSocket(const std::byte* bytes, std::size_t size, std::vector<TcpSocket>& to) {
    const auto message = valueAt<inet_diag_msg>(bytes, size);
    if (!message || (message->idiag_family != AF_INET && message->idiag_family != AF_INET6)) {
        return;
    }
    const bool isIPv4 = message->idiag_family == AF_INET;
    const bool isListening = message->idiag_state == TCP_LISTEN;
    to.push_back({.inode = message->idiag_inode,
                  .isListening = isListening,
                  .local = endFrom(isIPv4, message->id.idiag_src, message->id.idiag_sport),
                  .remote = isListening
                                ? TcpSocket::End{}
                                : endFrom(isIPv4, message->id.idiag_dst, message->id.idiag_dport)});
}

} // namespace

bool parseTcpDump(const std::byte* bytes, std::size_t size, std::vector<TcpSocket>& sockets) {
    return walkDiagMessages(bytes, size, [&](const std::byte* message, std::size_t length) {
        addSocket(message, length, sockets);
    });
}

std::vector<SocketPair> acceptedPairs(const std::vector<TcpSocket>& sockets) {
    std::set<std::uint16_t> served;
    std::map<std::pair<TcpSocket::End, TcpSocket::End>, std::uint64_t> byEnds;
    for (const auto& socket : sockets) {
        if (socket.isListening) {
            served.insert(socket.local.port);
        } else {
            byEnds[{socket.local, socket.remote}] = socket.inode;
        }
    }
    std::vector<SocketPair> pairs;
    for (const auto& [ends, inode] : byEnds) {
        const auto& [local, remote] = ends;
        if (inode != 0 && served.contains(local.port)) {
            const auto other = byEnds.find({remote, local});
            pairs.push_back({{}, inode, other == byEnds.end() ? 0 : other->second});
        }
    }
    return pairs;
}

} // namespace velmoran
