// The kernel's table of sockets, by NETLINK_SOCK_DIAG (sock_diag(7)): asks for a dump and hands
// over its parts. One netlink socket; owned by whoever reads; one thread at a time.
#pragma once

#include "system/linux/kernel/Descriptor.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <optional>

namespace velmoran {

class SocketDiag {
public:
    SocketDiag();

    /// `request` is what follows the message's header: the family's request as the kernel has it.
    /// Each datagram of the answer goes to `receive`, until that says false; without an answer
    /// none.
    template <typename Request>
    void dump(const Request& request,
              const std::function<bool(const std::byte*, std::size_t)>& receive) const {
        dump(&request, sizeof request, receive);
    }

private:
    void dump(const void* request, std::size_t size,
              const std::function<bool(const std::byte*, std::size_t)>& receive) const;

    Descriptor netlink_;
};

/// Calls `message` for each of a datagram's messages that tells of a socket, with what follows the
/// header. False once the dump is done or was refused. Bytes of another form than the kernel's end
/// the dump.
bool walkDiagMessages(const std::byte* bytes, std::size_t size,
                      const std::function<void(const std::byte*, std::size_t)>& message);

/// The value that these bytes begin with; nothing if they are too few.
template <typename Value>
std::optional<Value> valueAt(const std::byte* bytes, std::size_t size) {
    if (size < sizeof(Value)) {
        return std::nullopt;
    }
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// As netlink pads its messages and attributes.
constexpr std::size_t netlinkAligned(std::size_t size) {
    return (size + 3U) & ~std::size_t{3};
}

} // namespace velmoran
