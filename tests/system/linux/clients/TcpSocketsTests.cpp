#include "system/linux/clients/PeerSockets.h"
#include "system/linux/clients/TcpSockets.h"

#include <algorithm>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmoran {
namespace {

TcpSocket::End tcpEnd(std::uint16_t port, std::uint8_t last = 1) {
    TcpSocket::End made{.address = {}, .port = port};
    made.address.back() = last;
    return made;
}

TEST(TcpSockets, PairsTheEndsOfWhatAListenerHasAccepted) {
    const std::vector<TcpSocket> sockets = {
        {.inode = 1, .isListening = true, .local = tcpEnd(4711, 0), .remote = {}},
        {.inode = 2, .isListening = false, .local = tcpEnd(40000), .remote = tcpEnd(4711)},
        {.inode = 3, .isListening = false, .local = tcpEnd(4711), .remote = tcpEnd(40000)},
        {.inode = 4, .isListening = false, .local = tcpEnd(4711), .remote = tcpEnd(40000, 9)},
        {.inode = 5, .isListening = false, .local = tcpEnd(50000), .remote = tcpEnd(443, 9)}};
    const std::vector<SocketPair> expected = {{{}, 3, 2}, {{}, 4, 0}};
    EXPECT_EQ(acceptedPairs(sockets), expected);
    EXPECT_TRUE(acceptedPairs({}).empty());
}

TEST(TcpSockets, TellsNothingOfAConnectionThatHasNoListenerOrNoProcess) {
    EXPECT_TRUE(
        acceptedPairs({{.inode = 3, .isListening = false, .local = tcpEnd(1), .remote = tcpEnd(2)},
                       {.inode = 2, .isListening = false, .local = tcpEnd(2), .remote = tcpEnd(1)}})
            .empty());
    EXPECT_TRUE(
        acceptedPairs({{.inode = 1, .isListening = true, .local = tcpEnd(1), .remote = {}},
                       {.inode = 0, .isListening = false, .local = tcpEnd(1), .remote = tcpEnd(2)}})
            .empty());
}

// A listener with one connection, all in this process.
struct TcpPair {
    int listener = -1;
    int client = -1;
    int accepted = -1;

    explicit TcpPair(bool isIPv6) {
        sockaddr_in6 six{};
        six.sin6_family = AF_INET6;
        sockaddr_in four{};
        four.sin_family = AF_INET;
        four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        listener = ::socket(isIPv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const auto* local = isIPv6 ? reinterpret_cast<const sockaddr*>(&six)
                                   : reinterpret_cast<const sockaddr*>(&four);
        socklen_t size = isIPv6 ? sizeof six : sizeof four;
        EXPECT_EQ(::bind(listener, local, size), 0);
        EXPECT_EQ(::listen(listener, 1), 0);
        sockaddr_storage bound{};
        size = sizeof bound;
        EXPECT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&bound), &size), 0);
        four.sin_port = isIPv6 ? reinterpret_cast<const sockaddr_in6&>(bound).sin6_port
                               : reinterpret_cast<const sockaddr_in&>(bound).sin_port;
        client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::connect(client, reinterpret_cast<const sockaddr*>(&four), sizeof four), 0);
        accepted = ::accept(listener, nullptr, nullptr);
    }
    ~TcpPair() {
        ::close(accepted);
        ::close(client);
        ::close(listener);
    }
};

std::uint64_t numberOf(int descriptor) {
    struct stat entry {};
    EXPECT_EQ(::fstat(descriptor, &entry), 0);
    return entry.st_ino;
}

TEST(TcpSockets, AreFoundInTheKernelsTable) {
    for (const bool isIPv6 : {false, true}) {
        const TcpPair connection(isIPv6);
        PeerSockets sockets;
        const SocketPair expected{{}, numberOf(connection.accepted), numberOf(connection.client)};
        const auto all = sockets.acceptedOverTcp();
        EXPECT_EQ(std::count(all.begin(), all.end(), expected), 1) << isIPv6;
        const auto isOwn = [&](const SocketPair& pair) {
            return pair.serverEnd == numberOf(connection.client);
        };
        EXPECT_TRUE(std::none_of(all.begin(), all.end(), isOwn)) << "it listens nowhere";
    }
}

} // namespace
} // namespace velmoran
