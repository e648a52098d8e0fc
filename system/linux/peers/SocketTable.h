// The remote ends of the machine's internet sockets, as the kernel's table has them, and how they
// are told. Pure but for `readSocketTable`; any thread.
#pragma once

#include "system/Machine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

enum class Transport { tcp, udp };

/// A socket that has a remote end.
struct RemoteEnd {
    std::uint32_t inode = 0; ///< the kernel's number for the socket, never 0
    Transport transport = Transport::tcp;
    /// The peer is one of IPv4, also where the socket is of IPv6.
    bool isIPv4 = false;
    std::array<std::uint8_t, 16> address{}; ///< in network order; for IPv4 the first four bytes
    std::uint16_t port = 0;                 ///< never 0

    bool operator==(const RemoteEnd&) const = default;
};

/// One answer of the kernel: adds the remote ends that it tells of. Sockets of no process (as those
/// that wait for their time to be over) and those without a remote port are left out. False once
/// the dump is done or was refused. Bytes of another form than the kernel's end the dump.
bool parseInetDump(const std::byte* bytes, std::size_t size, Transport transport,
                   std::vector<RemoteEnd>& ends);

/// All TCP and UDP sockets of the network namespace that this program lives in, in no order.
std::vector<RemoteEnd> readSocketTable();

/// The address as inet_ntop(3) prints it; nothing for the one that stands for none.
std::optional<std::string> printedAddress(bool isIPv4, const std::array<std::uint8_t, 16>& address);

/// Whether an address, as printed, is another machine's. By its text alone.
bool isBeyondLoopback(const std::string& printed);

/// What is told of the sockets with these inodes: sorted, without duplicates and without loopback.
std::vector<Connection> connectionsOf(const std::vector<std::uint64_t>& inodes,
                                      const std::vector<RemoteEnd>& table);

} // namespace velmoran
