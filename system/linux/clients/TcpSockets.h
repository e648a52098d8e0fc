// The machine's TCP sockets as the kernel's table has them, and which two belong together. Pure;
// any thread.
#pragma once

#include "system/linux/clients/SocketFacts.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmoran {

struct TcpSocket {
    struct End {
        std::array<std::uint8_t, 16> address{}; ///< in network order; one of IPv4 as IPv6 maps it
        std::uint16_t port = 0;

        auto operator<=>(const End&) const = default;
    };

    std::uint64_t inode = 0;
    bool isListening = false;
    End local;
    End remote; ///< of one that listens, nothing

    bool operator==(const TcpSocket&) const = default;
};

/// One answer of the kernel: adds the sockets that it tells of. False once the dump is done or was
/// refused. Bytes of another form than the kernel's end the dump.
bool parseTcpDump(const std::byte* bytes, std::size_t size, std::vector<TcpSocket>& sockets);

/// Of each connection whose one end has the port of a socket that listens: that end as the
/// server's, and the other, 0 if that is on another machine. Without names.
std::vector<SocketPair> acceptedPairs(const std::vector<TcpSocket>& sockets);

} // namespace velmoran
