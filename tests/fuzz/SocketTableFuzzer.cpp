// Whatever bytes stand where the kernel's table of internet sockets is read: no crash, and every
// remote end has a socket, a port and an address that can be printed.
#include "system/linux/peers/SocketTable.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    std::vector<RemoteEnd> ends;
    parseInetDump(reinterpret_cast<const std::byte*>(data), size, Transport::tcp, ends);
    std::vector<std::uint64_t> inodes;
    for (const auto& end : ends) {
        if (end.inode == 0 || end.port == 0) {
            std::abort();
        }
        inodes.push_back(end.inode);
    }
    const auto connections = connectionsOf(inodes, ends);
    if (connections.size() > ends.size() ||
        !std::is_sorted(connections.begin(), connections.end())) {
        std::abort();
    }
    for (const auto& connection : connections) {
        if (connection.address.empty() || !isBeyondLoopback(connection.address)) {
            std::abort();
        }
    }
    return 0;
}
