#include "system/linux/kernel/SocketDiag.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace velmoran {

SocketDiag::SocketDiag()
    : netlink_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG)) {
    // The kernel answers while the request is being sent; the bound is for one that never does.
    timeval bound{};
    bound.tv_usec = 200'000;
    ::setsockopt(netlink_.get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
}

void SocketDiag::dump(const void* request, std::size_t size,
                      const std::function<bool(const std::byte*, std::size_t)>& receive) const {
    nlmsghdr header{};
    header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + size);
    header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    std::vector<std::byte> question(header.nlmsg_len);
    std::memcpy(question.data(), &header, sizeof header);
    std::memcpy(question.data() + sizeof header, request, size);
    if (::send(netlink_.get(), question.data(), question.size(), 0) !=
        static_cast<ssize_t>(question.size())) {
        return;
    }
    alignas(nlmsghdr) std::array<std::byte, 32768> answer;
    for (;;) {
        const auto length = ::recv(netlink_.get(), answer.data(), answer.size(), 0);
        if (length <= 0 || !receive(answer.data(), static_cast<std::size_t>(length))) {
            return;
        }
    }
}

bool walkDiagMessages(const std::byte* bytes, std::size_t size,
                      const std::function<void(const std::byte*, std::size_t)>& message) {
    while (size > 0) {
        const auto header = valueAt<nlmsghdr>(bytes, size);
        if (!header || header->nlmsg_len < sizeof *header || header->nlmsg_len > size ||
            header->nlmsg_type == NLMSG_DONE || header->nlmsg_type == NLMSG_ERROR) {
            return false;
        }
        if (header->nlmsg_type == SOCK_DIAG_BY_FAMILY) {
            message(bytes + sizeof *header, header->nlmsg_len - sizeof *header);
        }
        const auto step = std::min(netlinkAligned(header->nlmsg_len), size);
        bytes += step;
        size -= step;
    }
    return true;
}

} // namespace velmoran
