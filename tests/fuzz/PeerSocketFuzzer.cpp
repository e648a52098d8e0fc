// Whatever bytes stand where the kernel's answers about sockets are read: no crash, and every
// connection that is told of has a name and a client's end.
#include "system/linux/clients/PeerSockets.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    std::vector<SocketPair> pairs;
    parseUnixDump(reinterpret_cast<const std::byte*>(data), size, pairs);
    for (const auto& pair : pairs) {
        if (pair.name.empty() || pair.clientEnd == 0) {
            std::abort();
        }
    }
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto pid = parseInnerPid(text); pid && *pid <= 0) {
        std::abort();
    }
    socketInode(text);
    namesAnotherProcess(text);
    return 0;
}
