// Whatever bytes stand where the kernel's answers about TCP sockets are read: no crash, and every
// connection that is told of has a server's end, each but once.
#include "system/linux/clients/TcpSockets.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    std::vector<TcpSocket> sockets;
    parseTcpDump(reinterpret_cast<const std::byte*>(data), size, sockets);
    const auto pairs = acceptedPairs(sockets);
    if (pairs.size() > sockets.size()) {
        std::abort();
    }
    for (const auto& pair : pairs) {
        if (pair.serverEnd == 0) {
            std::abort();
        }
    }
    return 0;
}
