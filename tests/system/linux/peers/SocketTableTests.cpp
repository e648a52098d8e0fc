#include "system/linux/peers/SocketTable.h"

#include <gtest/gtest.h>

#include <cstring>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>

namespace velmoran {
namespace {

/// An answer of the kernel, put together.
struct Answer {
    std::vector<std::byte> bytes;

    Answer& socket(const std::string& peer, std::uint16_t port, std::uint32_t inode = 4711,
                   std::uint8_t state = TCP_ESTABLISHED, std::size_t attributes = 8) {
        inet_diag_msg message{};
        const bool isIPv6 = peer.find(':') != std::string::npos;
        message.idiag_family = isIPv6 ? AF_INET6 : AF_INET;
        message.idiag_state = state;
        message.idiag_inode = inode;
        message.id.idiag_dport = htons(port);
        EXPECT_EQ(inet_pton(message.idiag_family, peer.c_str(), message.id.idiag_dst), 1) << peer;
        std::vector<std::byte> payload(sizeof message + attributes);
        std::memcpy(payload.data(), &message, sizeof message);
        return add(SOCK_DIAG_BY_FAMILY, payload);
    }
    Answer& add(std::uint16_t type, const std::vector<std::byte>& payload) {
        nlmsghdr header{};
        header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + payload.size());
        header.nlmsg_type = type;
        const auto* begin = reinterpret_cast<const std::byte*>(&header);
        bytes.insert(bytes.end(), begin, begin + sizeof header);
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        bytes.resize((bytes.size() + 3) / 4 * 4);
        return *this;
    }
    std::vector<RemoteEnd> ends(Transport transport = Transport::tcp) const {
        std::vector<RemoteEnd> found;
        EXPECT_TRUE(parseInetDump(bytes.data(), bytes.size(), transport, found));
        return found;
    }
};

std::vector<Connection> seen(const Answer& answer) {
    return connectionsOf({4711}, answer.ends());
}

TEST(SocketTable, ReadsTheRemoteEndsOfADump) {
    const auto ends =
        Answer().socket("198.51.100.7", 443, 1).socket("2001:db8::7", 5222, 2).ends(Transport::udp);
    ASSERT_EQ(ends.size(), 2U);
    EXPECT_EQ(ends[0].inode, 1U);
    EXPECT_EQ(ends[0].port, 443);
    EXPECT_TRUE(ends[0].isIPv4);
    EXPECT_EQ(ends[0].transport, Transport::udp);
    EXPECT_EQ(printedAddress(ends[0].isIPv4, ends[0].address), "198.51.100.7");
    EXPECT_FALSE(ends[1].isIPv4);
    EXPECT_EQ(printedAddress(ends[1].isIPv4, ends[1].address), "2001:db8::7");
}

TEST(SocketTable, LeavesOutSocketsWithoutARemotePort) {
    Answer answer;
    answer.socket("0.0.0.0", 0, 4711, TCP_LISTEN).socket("198.51.100.7", 0).socket("::", 0);
    EXPECT_TRUE(answer.ends().empty());
}

TEST(SocketTable, LeavesOutSocketsOfNoProcess) {
    EXPECT_TRUE(Answer().socket("198.51.100.7", 443, 0, TCP_TIME_WAIT).ends().empty());
}

TEST(SocketTable, LooksAtNoState) {
    for (const std::uint8_t state :
         {TCP_ESTABLISHED, TCP_SYN_SENT, TCP_CLOSE_WAIT, TCP_LAST_ACK, TCP_CLOSE}) {
        EXPECT_EQ(seen(Answer().socket("198.51.100.7", 443, 4711, state)).size(), 1U) << state;
    }
}

TEST(SocketTable, PrintsAnIPv4PeerOfAnIPv6SocketAsIPv4) {
    EXPECT_EQ(seen(Answer().socket("::ffff:198.51.100.7", 443)),
              (std::vector<Connection>{{"198.51.100.7", 443, "TCP"}}));
    // The same peer over either kind of socket is one.
    EXPECT_EQ(seen(Answer().socket("::ffff:198.51.100.7", 443).socket("198.51.100.7", 443)).size(),
              1U);
    EXPECT_TRUE(seen(Answer().socket("::ffff:127.0.0.1", 443)).empty());
    EXPECT_TRUE(seen(Answer().socket("::ffff:0.0.0.0", 443)).empty());
}

TEST(SocketTable, LeavesLoopbackOut) {
    for (const char* address : {"127.0.0.1", "127.0.0.53", "127.255.255.254", "::1"}) {
        EXPECT_TRUE(seen(Answer().socket(address, 443)).empty()) << address;
    }
}

TEST(SocketTable, LeavesOutTheAddressesThatStandForNone) {
    EXPECT_TRUE(seen(Answer().socket("0.0.0.0", 443).socket("::", 443)).empty());
}

TEST(SocketTable, JudgesLoopbackByTheTextAlone) {
    EXPECT_FALSE(isBeyondLoopback("127.0.0.1"));
    EXPECT_FALSE(isBeyondLoopback("::1"));
    EXPECT_TRUE(isBeyondLoopback("::ffff:127.0.0.1"));
    EXPECT_TRUE(isBeyondLoopback("128.0.0.1"));
    EXPECT_TRUE(isBeyondLoopback("12.7.0.1"));
    EXPECT_TRUE(isBeyondLoopback("::12"));
    // How such an address is printed where it isn't known to be one of IPv4.
    RemoteEnd mapped;
    mapped.address = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 127, 0, 0, 1};
    EXPECT_EQ(printedAddress(mapped.isIPv4, mapped.address), "::ffff:127.0.0.1");
    mapped.inode = 4711;
    mapped.port = 443;
    EXPECT_EQ(connectionsOf({4711}, {mapped}),
              (std::vector<Connection>{{"::ffff:127.0.0.1", 443, "TCP"}}));
}

TEST(SocketTable, KeepsPrivateAndLinkLocalAddresses) {
    for (const char* address :
         {"10.0.0.7", "192.168.1.1", "172.16.0.1", "169.254.3.4", "fe80::1", "fd00::1", "::2"}) {
        EXPECT_EQ(seen(Answer().socket(address, 80)),
                  (std::vector<Connection>{{address, 80, "TCP"}}));
    }
}

TEST(SocketTable, TellsAPeerOnceForEachTransport) {
    Answer answer;
    answer.socket("198.51.100.7", 443).socket("198.51.100.7", 443);
    auto table = answer.ends(Transport::tcp);
    for (const auto& end : answer.ends(Transport::udp)) {
        table.push_back(end);
    }
    EXPECT_EQ(connectionsOf({4711}, table), (std::vector<Connection>{
                                                {"198.51.100.7", 443, "TCP"},
                                                {"198.51.100.7", 443, "UDP"},
                                            }));
}

TEST(SocketTable, SortsByTheAddressAsTextAndThenByThePort) {
    Answer answer;
    answer.socket("9.9.9.9", 53)
        .socket("198.51.100.7", 443)
        .socket("198.51.100.7", 80)
        .socket("2001:db8::7", 9)
        .socket("198.51.100.10", 1);
    std::vector<std::string> order;
    for (const auto& one : seen(answer)) {
        order.push_back(one.address + ' ' + std::to_string(one.port));
    }
    EXPECT_EQ(order, (std::vector<std::string>{"198.51.100.10 1", "198.51.100.7 80",
                                               "198.51.100.7 443", "2001:db8::7 9", "9.9.9.9 53"}));
}

TEST(SocketTable, TellsOnlyOfTheSocketsAskedFor) {
    Answer answer;
    answer.socket("198.51.100.7", 443, 1).socket("198.51.100.8", 443, 2);
    EXPECT_EQ(connectionsOf({2, 3}, answer.ends()),
              (std::vector<Connection>{{"198.51.100.8", 443, "TCP"}}));
    EXPECT_TRUE(connectionsOf({}, answer.ends()).empty());
    EXPECT_TRUE(connectionsOf({1}, {}).empty());
}

TEST(SocketTable, EndsTheDumpWithTheKernelsWordOrWithNonsense) {
    std::vector<RemoteEnd> ends;
    for (const std::uint16_t type : {NLMSG_DONE, NLMSG_ERROR}) {
        Answer answer;
        answer.socket("198.51.100.7", 443).add(type, std::vector<std::byte>(4));
        ends.clear();
        EXPECT_FALSE(parseInetDump(answer.bytes.data(), answer.bytes.size(), Transport::tcp, ends));
        EXPECT_EQ(ends.size(), 1U);
    }
    // Cut short anywhere: no end is made up.
    const auto whole = Answer().socket("198.51.100.7", 443, 4711, TCP_ESTABLISHED, 0).bytes;
    for (std::size_t size = 1; size < whole.size(); ++size) {
        ends.clear();
        EXPECT_FALSE(parseInetDump(whole.data(), size, Transport::tcp, ends)) << size;
        EXPECT_TRUE(ends.empty()) << size;
    }
    // A message that is too short for a socket, and one of another family.
    Answer odd;
    odd.add(SOCK_DIAG_BY_FAMILY, std::vector<std::byte>(40));
    odd.add(SOCK_DIAG_BY_FAMILY, std::vector<std::byte>(sizeof(inet_diag_msg), std::byte{1}));
    EXPECT_TRUE(odd.ends().empty());
}

} // namespace
} // namespace velmoran
