#include "system/linux/peers/SocketTable.h"

#include "system/linux/kernel/SocketDiag.h"

#include <algorithm>
#include <compare>
#include <cstring>
#include <map>
#include <unordered_set>
#include <utility>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

namespace velmoran {

namespace {

// An IPv6 socket that speaks IPv4 has its peer as ::ffff:a.b.c.d.
constexpr std::array<std::uint8_t, 12> mappedPrefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

/// Where a socket leads to, in the order in which it is told but for the address.
struct Peer {
    bool isIPv4 = false;
    std::array<std::uint8_t, 16> address{};
    std::uint16_t port = 0;
    Transport transport = Transport::tcp;

    bool isAt(const Peer& other) const {
        return isIPv4 == other.isIPv4 && address == other.address;
    }
    auto operator<=>(const Peer&) const = default;
};

void addEnd(const std::byte* bytes, std::size_t size, Transport transport,
            std::vector<RemoteEnd>& to) {
    const auto message = valueAt<inet_diag_msg>(bytes, size);
    if (!message || message->idiag_inode == 0 || message->id.idiag_dport == 0 ||
        (message->idiag_family != AF_INET && message->idiag_family != AF_INET6)) {
        return;
    }
    RemoteEnd end;
    end.inode = message->idiag_inode;
    end.transport = transport;
    end.port = ntohs(message->id.idiag_dport);
    std::memcpy(end.address.data(), message->id.idiag_dst, end.address.size());
    end.isIPv4 = message->idiag_family == AF_INET;
    if (!end.isIPv4 && std::equal(mappedPrefix.begin(), mappedPrefix.end(), end.address.begin())) {
        end.isIPv4 = true;
        std::copy(end.address.begin() + mappedPrefix.size(), end.address.end(),
                  end.address.begin());
    }
    if (end.isIPv4) {
        std::fill(end.address.begin() + 4, end.address.end(), std::uint8_t{0});
    }
    to.push_back(end);
}

} // namespace

bool parseInetDump(const std::byte* bytes, std::size_t size, Transport transport,
                   std::vector<RemoteEnd>& ends) {
    return walkDiagMessages(bytes, size, [&](const std::byte* message, std::size_t length) {
        addEnd(message, length, transport, ends);
    });
}

std::vector<RemoteEnd> readSocketTable() {
    std::vector<RemoteEnd> ends;
    const SocketDiag diag;
    for (const auto family : {AF_INET, AF_INET6}) {
        for (const auto transport : {Transport::tcp, Transport::udp}) {
            inet_diag_req_v2 request{};
            request.sdiag_family = static_cast<std::uint8_t>(family);
            request.sdiag_protocol = transport == Transport::tcp ? IPPROTO_TCP : IPPROTO_UDP;
            // All states but those that have no remote end or no process: the kernel needn't list
            // them.
            request.idiag_states = ~((1U << TCP_LISTEN) | (1U << TCP_TIME_WAIT));
            diag.dump(request, [&](const std::byte* bytes, std::size_t size) {
                return parseInetDump(bytes, size, transport, ends);
            });
        }
    }
    return ends;
}

std::optional<std::string> printedAddress(bool isIPv4,
                                          const std::array<std::uint8_t, 16>& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (!inet_ntop(isIPv4 ? AF_INET : AF_INET6, address.data(), text.data(), text.size())) {
        return std::nullopt;
    }
    std::string printed = text.data();
    if (printed == "0.0.0.0" || printed == "::") {
        return std::nullopt;
    }
    return printed;
}

bool isBeyondLoopback(const std::string& printed) {
    return !printed.starts_with("127.") && printed != "::1";
}

std::vector<Connection> connectionsOf(const std::vector<std::uint64_t>& inodes,
                                      const std::vector<RemoteEnd>& table) {
    const std::unordered_set<std::uint64_t> wanted(inodes.begin(), inodes.end());
    std::vector<Peer> peers;
    for (const auto& end : table) {
        if (wanted.contains(end.inode)) {
            peers.push_back({end.isIPv4, end.address, end.port, end.transport});
        }
    }
    std::sort(peers.begin(), peers.end());
    peers.erase(std::unique(peers.begin(), peers.end()), peers.end());
    // Of thousands of sockets most lead to few addresses: each is printed, and compared as text,
    // but once.
    std::map<std::string, std::pair<std::size_t, std::size_t>> byText;
    for (std::size_t begin = 0; begin < peers.size();) {
        auto end = begin + 1;
        while (end < peers.size() && peers[end].isAt(peers[begin])) {
            ++end;
        }
        auto address = printedAddress(peers[begin].isIPv4, peers[begin].address);
        if (address && isBeyondLoopback(*address)) {
            byText[std::move(*address)] = {begin, end};
        }
        begin = end;
    }
    std::vector<Connection> connections;
    for (const auto& [address, range] : byText) {
        for (auto at = range.first; at < range.second; ++at) {
            connections.push_back(
                {.address = address,
                 .port = peers[at].port,
                 .transport = peers[at].transport == Transport::tcp ? "TCP" : "UDP"});
        }
    }
    return connections;
}

} // namespace velmoran
