// Connections of real sockets of this process: on loopback, and beyond it in a network of its own.
#include "system/linux/peers/LinuxConnections.h"
#include "system/linux/peers/SocketTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran {
namespace {

AppIdentity appWithID(const std::string& id) {
    return {.id = id, .name = id, .bundleID = {}, .path = "/usr/bin/" + id, .teamID = {}};
}

std::vector<pid_t> thisProcess(const AppIdentity&) {
    return {::getpid()};
}

struct Address {
    sockaddr_storage storage{};
    socklen_t length = 0;

    Address(const std::string& text, std::uint16_t port) {
        if (text.find(':') != std::string::npos) {
            auto* address = reinterpret_cast<sockaddr_in6*>(&storage);
            address->sin6_family = AF_INET6;
            address->sin6_port = htons(port);
            inet_pton(AF_INET6, text.c_str(), &address->sin6_addr);
            length = sizeof *address;
        } else {
            auto* address = reinterpret_cast<sockaddr_in*>(&storage);
            address->sin_family = AF_INET;
            address->sin_port = htons(port);
            inet_pton(AF_INET, text.c_str(), &address->sin_addr);
            length = sizeof *address;
        }
    }
    const sockaddr* general() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

class Socket {
public:
    explicit Socket(int descriptor) : descriptor_(descriptor) {}
    Socket(int type, const std::string& address)
        : descriptor_(::socket(address.find(':') != std::string::npos ? AF_INET6 : AF_INET,
                               type | SOCK_CLOEXEC, 0)) {}
    Socket(Socket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    bool listenAt(const std::string& address) const {
        const Address at(address, 0);
        return bindTo(at) && ::listen(descriptor_, 64) == 0;
    }
    bool bindTo(const Address& at) const {
        return ::bind(descriptor_, at.general(), at.length) == 0;
    }
    bool connectTo(const std::string& address, std::uint16_t port) const {
        const Address at(address, port);
        return ::connect(descriptor_, at.general(), at.length) == 0;
    }
    std::uint16_t port() const {
        sockaddr_storage own{};
        socklen_t length = sizeof own;
        ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&own), &length);
        return own.ss_family == AF_INET6
                   ? ntohs(reinterpret_cast<const sockaddr_in6*>(&own)->sin6_port)
                   : ntohs(reinterpret_cast<const sockaddr_in*>(&own)->sin_port);
    }
    Socket accept() const { return Socket(::accept(descriptor_, nullptr, nullptr)); }
    std::uint64_t inode() const {
        struct stat entry {};
        EXPECT_EQ(::fstat(descriptor_, &entry), 0);
        return entry.st_ino;
    }

private:
    int descriptor_;
};

std::vector<Connection> ownConnections() {
    return LinuxConnections(thisProcess).read({appWithID("test")}).at("test");
}

std::vector<RemoteEnd> ends(const std::vector<std::uint64_t>& inodes) {
    auto table = readSocketTable();
    std::erase_if(table, [&](const RemoteEnd& end) {
        return std::find(inodes.begin(), inodes.end(), end.inode) == inodes.end();
    });
    return table;
}

TEST(LinuxConnections, SeesLoopbackInTheTableAndLeavesItOut) {
    for (const char* address : {"127.0.0.1", "::1"}) {
        const Socket listener(SOCK_STREAM, address);
        if (!listener.listenAt(address)) {
            GTEST_SKIP() << "no " << address;
        }
        const Socket client(SOCK_STREAM, address);
        ASSERT_TRUE(client.connectTo(address, listener.port()));
        const auto accepted = listener.accept();
        const auto found = ends({listener.inode(), client.inode(), accepted.inode()});
        ASSERT_EQ(found.size(), 2U) << "the listener has no remote end";
        for (const auto& end : found) {
            EXPECT_EQ(printedAddress(end.isIPv4, end.address), address);
            EXPECT_EQ(end.transport, Transport::tcp);
            EXPECT_EQ(end.port, end.inode == client.inode() ? listener.port() : client.port());
        }
        EXPECT_TRUE(ownConnections().empty());
    }
}

TEST(LinuxConnections, TakesAnIPv4PeerOfAnIPv6SocketForIPv4) {
    const Socket listener(SOCK_STREAM, "127.0.0.1");
    ASSERT_TRUE(listener.listenAt("127.0.0.1"));
    const Socket client(SOCK_STREAM, "::1");
    if (!client.connectTo("::ffff:127.0.0.1", listener.port())) {
        GTEST_SKIP() << "no IPv6";
    }
    const auto found = ends({client.inode()});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(found[0].isIPv4);
    EXPECT_EQ(printedAddress(found[0].isIPv4, found[0].address), "127.0.0.1");
    EXPECT_TRUE(ownConnections().empty());
}

TEST(LinuxConnections, SeesAConnectedUdpSocketAndNoOther) {
    const Socket connected(SOCK_DGRAM, "127.0.0.1");
    ASSERT_TRUE(connected.connectTo("127.0.0.1", 9));
    const Socket bound(SOCK_DGRAM, "127.0.0.1");
    const Address any("127.0.0.1", 0);
    ASSERT_TRUE(bound.bindTo(any));
    const auto found = ends({connected.inode(), bound.inode()});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].transport, Transport::udp);
    EXPECT_EQ(found[0].port, 9);
}

TEST(LinuxConnections, AnswersEveryAppOnAnotherThread) {
    std::atomic<bool> isOther = false;
    const auto here = std::this_thread::get_id();
    LinuxConnections connections([&](const AppIdentity& asked) {
        isOther = std::this_thread::get_id() != here;
        return asked.id == "gone" ? std::vector<pid_t>{1 << 30} : std::vector<pid_t>{};
    });
    std::promise<Connections::Found> promise;
    connections.ofApps({appWithID("gone"), appWithID("none")},
                       [&](const Connections::Found& found) { promise.set_value(found); });
    auto answer = promise.get_future();
    ASSERT_EQ(answer.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(answer.get(), (Connections::Found{{"gone", {}}, {"none", {}}}));
    EXPECT_TRUE(isOther);
}

// MARK: - Beyond loopback

bool writeText(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    file.close();
    return file.good();
}

/// A network of this process's own, where 192.0.2.1/24 is an address of this machine.
bool enterOwnNetwork() {
    const auto user = ::getuid();
    const auto group = ::getgid();
    if (::unshare(CLONE_NEWNET) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
            return false;
        }
        writeText("/proc/self/setgroups", "deny");
        writeText("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        writeText("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    const int control = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    request.ifr_flags = IFF_UP | IFF_RUNNING | IFF_LOOPBACK;
    bool isUp = ::ioctl(control, SIOCSIFFLAGS, &request) == 0;
    const Address address("192.0.2.1", 0);
    const Address mask("255.255.255.0", 0);
    std::strncpy(request.ifr_name, "lo:1", IFNAMSIZ - 1);
    std::memcpy(&request.ifr_addr, &address.storage, sizeof request.ifr_addr);
    isUp = isUp && ::ioctl(control, SIOCSIFADDR, &request) == 0;
    std::memcpy(&request.ifr_netmask, &mask.storage, sizeof request.ifr_netmask);
    isUp = isUp && ::ioctl(control, SIOCSIFNETMASK, &request) == 0;
    ::close(control);
    return isUp;
}

/// What the connections are in there, one a line; nothing if there can't be such a network.
std::optional<std::string> inOwnNetwork(const std::function<std::string()>& work) {
    int ends[2];
    if (::pipe(ends) != 0) {
        return std::nullopt;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        const auto text = enterOwnNetwork() ? "+" + work() : std::string("-");
        const bool isWritten =
            ::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        ::_exit(isWritten ? 0 : 1);
    }
    ::close(ends[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t size = 0; (size = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(size));
    }
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    return text.starts_with('+') ? std::optional(text.substr(1)) : std::nullopt;
}

std::string lines(const std::vector<Connection>& connections) {
    std::string text;
    for (const auto& one : connections) {
        text += one.transport + ' ' + one.address + ' ' + std::to_string(one.port) + '\n';
    }
    return text;
}

TEST(LinuxConnections, TellsPeersBeyondLoopbackOnceForEachTransport) {
    const auto seen = inOwnNetwork([] {
        const Socket listener(SOCK_STREAM, "192.0.2.1");
        if (!listener.listenAt("192.0.2.1")) {
            return std::string("can't listen");
        }
        const auto port = listener.port();
        const Socket first(SOCK_STREAM, "192.0.2.1");
        const Socket second(SOCK_STREAM, "192.0.2.1");
        const Socket mapped(SOCK_STREAM, "::1");
        const Socket datagrams(SOCK_DGRAM, "192.0.2.1");
        const Socket other(SOCK_DGRAM, "192.0.2.1");
        if (!first.connectTo("192.0.2.1", port) || !second.connectTo("192.0.2.1", port) ||
            !mapped.connectTo("::ffff:192.0.2.1", port) ||
            !datagrams.connectTo("192.0.2.1", port) || !other.connectTo("192.0.2.77", 53)) {
            return "can't connect: " + std::string(std::strerror(errno)); // NOLINT: one thread
        }
        // Two in the queue of the listener belong to nobody yet; all ends lead to one peer.
        auto text = lines(ownConnections());
        const auto at = text.find(' ' + std::to_string(port) + '\n');
        for (auto found = at; found != std::string::npos;
             found = text.find(' ' + std::to_string(port) + '\n')) {
            text.replace(found, std::to_string(port).size() + 1, " PORT");
        }
        return text;
    });
    if (!seen) {
        GTEST_SKIP() << "this system lets no program have a network of its own";
    }
    EXPECT_EQ(*seen, "TCP 192.0.2.1 PORT\nUDP 192.0.2.1 PORT\nUDP 192.0.2.77 53\n");
}

TEST(LinuxConnections, LosesThePeerWithTheSocket) {
    const auto seen = inOwnNetwork([] {
        std::string text;
        {
            const Socket socket(SOCK_DGRAM, "192.0.2.1");
            text += socket.connectTo("192.0.2.9", 5060) ? lines(ownConnections()) : "can't connect";
        }
        return text + "then\n" + lines(ownConnections());
    });
    if (!seen) {
        GTEST_SKIP() << "this system lets no program have a network of its own";
    }
    EXPECT_EQ(*seen, "UDP 192.0.2.9 5060\nthen\n");
}

} // namespace
} // namespace velmoran
