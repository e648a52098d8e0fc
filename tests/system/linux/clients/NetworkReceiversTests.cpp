#include "system/linux/clients/NetworkReceivers.h"

#include "support/FakeNaming.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace velmoran {
namespace {

constexpr pid_t tcpServer = 900;

struct TcpTable : SocketFacts {
    std::vector<SocketPair> accepted;
    std::map<pid_t, std::vector<std::uint64_t>> sockets;
    int walks = 0;
    std::set<pid_t> heirs; ///< were started with what they hold
    bool isSomebodyHidden = false;

    /// From that process, or from another machine.
    void connect(std::uint64_t end, pid_t pid) {
        accepted.push_back({{}, end + 1000, pid == 0 ? 0 : end});
        sockets[tcpServer].push_back(end + 1000);
        sockets[pid].push_back(end);
    }

    std::vector<SocketPair> pairs() override { return {}; }
    std::vector<SocketPair> acceptedOverTcp() override {
        ++walks;
        return accepted;
    }
    std::vector<std::uint64_t> socketsOf(pid_t pid) override { return sockets[pid]; }
    std::map<std::uint64_t, std::vector<pid_t>>
    holdersOf(const std::vector<std::uint64_t>& ends) override {
        std::map<std::uint64_t, std::vector<pid_t>> holders;
        for (const auto end : ends) {
            holders[end];
            for (const auto& [pid, held] : sockets) {
                if (pid > 0 && std::find(held.begin(), held.end(), end) != held.end()) {
                    holders[end].push_back(pid);
                }
            }
        }
        return holders;
    }
    bool isReadable(pid_t) override { return true; }
    std::optional<pid_t> innerPid(pid_t pid) override { return pid; }
    bool openedItself(pid_t pid, std::uint64_t) override { return !heirs.contains(pid); }
    bool speaksForItself(pid_t) override { return true; }
    bool isAnybodyHidden() override { return isSomebodyHidden; }
    bool isAsleep(pid_t) override { return true; }
    bool isSoundServer(pid_t pid) override { return pid == tcpServer; }
};

struct NetworkReceiversTest : ::testing::Test {
    TcpTable table;
    testing::FakeNaming naming;
    NetworkReceivers receivers{table, naming};

    std::string name(ClientKey client) {
        const auto who = receivers.receiver(client, tcpServer);
        return who ? who->app.id() : "nobody";
    }
    bool isUnknown(ClientKey client) { return name(client).starts_with("unidentified:"); }
};

TEST_F(NetworkReceiversTest, AreTheProcessesAtTheFarEnds) {
    table.connect(1, 10);
    EXPECT_EQ(name(7), "/bin/10");
    EXPECT_EQ(receivers.receiver(7, tcpServer)->pid, 10);
    table.connect(2, 11);
    EXPECT_EQ(name(8), "/bin/11") << "the first connection has its client";
    EXPECT_EQ(name(7), "/bin/10");
    EXPECT_EQ(table.walks, 2) << "each is looked for but once";
    receivers.left(8);
    EXPECT_EQ(name(9), "/bin/11");
}

TEST_F(NetworkReceiversTest, AreNobodyWithoutAConnectionFromThisMachine) {
    EXPECT_EQ(name(7), "nobody");
    table.connect(1, 0);
    EXPECT_EQ(name(8), "nobody");
    table.accepted.push_back({{}, 5000, 5});
    table.sockets[10].push_back(5);
    EXPECT_EQ(name(9), "nobody") << "that one was accepted by another server";
}

TEST_F(NetworkReceiversTest, AreNobodyForAProgramThatIsNoSoundServer) {
    table.accepted.push_back({{}, 1001, 1});
    table.sockets[20] = {1001};
    table.sockets[10] = {1};
    EXPECT_FALSE(receivers.receiver(7, 20)) << "it could have anybody blamed";
}

TEST_F(NetworkReceiversTest, CannotBeNamedWhereSeveralCanBeMeant) {
    table.connect(1, 10);
    table.connect(2, 11);
    EXPECT_TRUE(isUnknown(7));
    table.accepted.pop_back();
    receivers.clear();
    table.sockets[11] = {1};
    EXPECT_TRUE(isUnknown(7)) << "two hold the far end";
    table.sockets[10] = table.sockets[11] = {};
    receivers.clear();
    EXPECT_TRUE(isUnknown(7)) << "nobody is seen to hold it";
}

TEST_F(NetworkReceiversTest, CannotBeAnHeirWhereSomebodyCannotBeLookedAt) {
    table.connect(1, 10);
    table.heirs = {10};
    EXPECT_EQ(name(7), "/bin/10");
    receivers.clear();
    table.isSomebodyHidden = true;
    EXPECT_TRUE(isUnknown(7)) << "who started it may hold the far end as well";
    receivers.clear();
    table.heirs.clear();
    EXPECT_EQ(name(7), "/bin/10");
}

TEST_F(NetworkReceiversTest, AreOneWhereAllAreTheSameApp) {
    naming.paths = {{10, "/bin/app"}, {11, "/bin/app"}};
    table.connect(1, 10);
    table.connect(2, 11);
    EXPECT_EQ(name(7), "/bin/app");
    table.connect(3, 0);
    EXPECT_TRUE(isUnknown(8)) << "it may be the one from afar";
}

} // namespace
} // namespace velmoran
