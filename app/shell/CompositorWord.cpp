#include "app/shell/CompositorWord.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {

namespace {

// The protocol's own numbers: each message is an object, its size and kind, and what it says.
constexpr std::size_t headerBytes = 8;
constexpr std::uint32_t display = 1;
constexpr std::uint32_t registry = 2;
constexpr std::uint32_t callback = 3;
constexpr std::uint32_t sizeOfQuestion = 12U << 16U;
constexpr std::uint32_t sync = 0;
constexpr std::uint32_t getRegistry = 1;
constexpr std::array<std::uint32_t, 6> question{display, sizeOfQuestion | getRegistry, registry,
                                                display, sizeOfQuestion | sync,        callback};
/// No compositor has that much to offer.
constexpr std::size_t mostBytes = 1U << 20U;

std::uint32_t numberAt(std::string_view bytes) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

} // namespace

bool hearCompositor(std::string& bytes, CompositorWord& word) {
    while (bytes.size() >= headerBytes) {
        const std::string_view all = bytes;
        const auto object = numberAt(all);
        const auto size = numberAt(all.substr(4)) >> 16U;
        if (object == callback || size < headerBytes) {
            return false;
        }
        if (bytes.size() < size) {
            return true;
        }
        // A number, the length of a text with the zero at its end, the text.
        if (object == registry && size > headerBytes + 8) {
            const auto length = numberAt(all.substr(headerBytes + 4));
            const auto text = all.substr(headerBytes + 8, size - headerBytes - 8);
            if (length > 0 && length <= text.size()) {
                word.protocols.emplace(text.substr(0, length - 1));
            }
        }
        bytes.erase(0, size);
    }
    return true;
}

CompositorWord askCompositor(const std::string& socketPath, int milliseconds) {
    CompositorWord word;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socketPath.empty() || socketPath.size() >= sizeof address.sun_path) {
        return word;
    }
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    // Not blocking: with a full queue the connection itself would wait.
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0) {
        return word;
    }
    // A connection alone may be one to a socket that nobody serves any more.
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::send(socket, question.data(), sizeof question, MSG_NOSIGNAL) == sizeof question) {
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        std::string heard;
        std::size_t total = 0;
        for (bool more = true; more && total < mostBytes;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd reply{.fd = socket, .events = POLLIN, .revents = 0};
            std::array<char, 4096> room{};
            ssize_t count = 0;
            if (::poll(&reply, 1, static_cast<int>(std::max<long>(left.count(), 0))) < 1 ||
                (count = ::recv(socket, room.data(), room.size(), 0)) <= 0) {
                break;
            }
            word.answers = true;
            total += static_cast<std::size_t>(count);
            heard.append(room.data(), static_cast<std::size_t>(count));
            more = hearCompositor(heard, word);
        }
    }
    ::close(socket);
    return word;
}

} // namespace velmoran
