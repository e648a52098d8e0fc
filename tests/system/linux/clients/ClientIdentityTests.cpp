#include "system/linux/clients/ClientIdentity.h"

#include "support/FakeNaming.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace velmoran {
namespace {

constexpr pid_t server = 900; // the one that serves PulseAudio's clients
constexpr const char* nativeSocket = "/run/user/1/pipewire-0";
constexpr const char* pulseSocket = "/run/user/1/pulse/native";

// Processes with the sockets that they hold. A connection has the server's end and the client's,
// which are numbered apart by 1000.
class Sockets : public SocketFacts {
public:
    std::uint64_t connect(pid_t pid, const char* socket) {
        const auto end = next_++;
        all.push_back({socket, end + 1000, end});
        sockets[pid].insert(end);
        if (std::string_view(socket) == pulseSocket) {
            sockets[server].insert(end + 1000);
        }
        return end;
    }
    void hangUp(std::uint64_t end) {
        std::erase_if(all, [&](const auto& one) { return one.clientEnd == end; });
        for (auto& [pid, held] : sockets) {
            held.erase(end);
        }
    }
    void give(std::uint64_t end, pid_t from, pid_t to, bool keeps) {
        sockets[to].insert(end);
        if (!keeps) {
            sockets[from].erase(end);
        }
    }

    std::vector<SocketPair> pairs() override { return all; }
    std::vector<std::uint64_t> socketsOf(pid_t pid) override {
        if (hidden.contains(pid)) {
            return {};
        }
        return {sockets[pid].begin(), sockets[pid].end()};
    }
    std::map<std::uint64_t, std::vector<pid_t>>
    holdersOf(const std::vector<std::uint64_t>& ends) override {
        std::map<std::uint64_t, std::vector<pid_t>> holders;
        for (const auto end : ends) {
            holders[end];
            for (const auto& [pid, held] : sockets) {
                if (!hidden.contains(pid) && held.contains(end)) {
                    holders[end].push_back(pid);
                }
            }
        }
        return holders;
    }
    bool isReadable(pid_t pid) override { return !hidden.contains(pid) && sockets.contains(pid); }
    std::optional<pid_t> innerPid(pid_t pid) override {
        const auto found = innerPids.find(pid);
        return found == innerPids.end() ? pid : found->second;
    }
    bool isSoundServer(pid_t pid) override { return pid == server; }

    std::vector<SocketPair> all;
    std::map<pid_t, std::set<std::uint64_t>> sockets;
    std::set<pid_t> hidden;
    std::map<pid_t, pid_t> innerPids;

private:
    std::uint64_t next_ = 1;
};

// One that can't be looked at is named as the machine's own naming does.
struct Naming : ProcessNaming {
    explicit Naming(Sockets& facts) : table(facts) {}
    AppRef identify(pid_t pid) override {
        return table.hidden.contains(pid) ? unidentified(std::to_string(pid)) : fake.identify(pid);
    }
    AppRef unidentified(const std::string& key) override { return fake.unidentified(key); }
    void pin(std::uint32_t objectID, AppRef app) override { fake.pin(objectID, std::move(app)); }
    void unpin(std::uint32_t objectID) override { fake.unpin(objectID); }

    Sockets& table;
    testing::FakeNaming fake;
};

class ClientIdentityOf : public ::testing::Test {
protected:
    // As the reader does when a client comes over the server's own socket.
    std::uint64_t comesNatively(ClientKey client, pid_t pid, bool isNew = true) {
        const auto end = table.connect(pid, nativeSocket);
        identity.appeared(client, pid, isNew);
        identity.described(client, pid, false);
        return end;
    }
    void isServed(ClientKey client, std::optional<pid_t> claim, bool isNew = true,
                  bool saysPulse = true) {
        identity.appeared(client, server, isNew);
        identity.described(client, claim, saysPulse);
    }
    std::string name(ClientKey client) {
        identity.opened(client);
        return identity.who(client).app.id();
    }
    static bool isUnknown(const std::string& id) { return id.starts_with("unidentified:"); }

    Sockets table;
    Naming naming{table};
    ClientIdentity identity{table, naming, nativeSocket};
};

TEST_F(ClientIdentityOf, ANativeClientIsTheProcessThatConnected) {
    comesNatively(1, 10);
    EXPECT_EQ(name(1), "/bin/10");
    EXPECT_EQ(identity.who(1).pid, 10);
}

TEST_F(ClientIdentityOf, ANativeClientThatIsGoneKeepsItsName) {
    const auto end = comesNatively(1, 10);
    table.hangUp(end);
    naming.fake.paths[10] = "/bin/somebody-else";
    EXPECT_EQ(name(1), "/bin/10");
}

TEST_F(ClientIdentityOf, AConnectionThatWasHandedOnIsItsHolders) {
    const auto end = comesNatively(1, 10);
    table.give(end, 10, 11, false);
    EXPECT_EQ(name(1), "/bin/11");
    EXPECT_EQ(identity.who(1).pid, 11);
}

TEST_F(ClientIdentityOf, AConnectionOfTwoAppsCannotBeTold) {
    const auto end = comesNatively(1, 10);
    table.give(end, 10, 11, true);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_EQ(identity.who(1).pid, 0);
}

TEST_F(ClientIdentityOf, AConnectionOfTwoProcessesOfOneAppIsThatApps) {
    const auto end = comesNatively(1, 10);
    naming.fake.paths[11] = "/bin/10";
    table.give(end, 10, 11, true);
    EXPECT_EQ(name(1), "/bin/10");
    EXPECT_EQ(identity.who(1).pid, 10);
}

TEST_F(ClientIdentityOf, AConnectionThatWentToSomebodyHiddenCannotBeTold) {
    const auto end = comesNatively(1, 10);
    table.hidden.insert(11);
    table.give(end, 10, 11, false);
    EXPECT_TRUE(isUnknown(name(1)));
}

TEST_F(ClientIdentityOf, AGiverWithAConnectionOfItsOwnIsNotTakenForTheUser) {
    // A portal: its own connection, and one that it opened for an app before this program came.
    table.connect(10, nativeSocket);
    const auto given = table.connect(10, nativeSocket);
    table.give(given, 10, 11, false);
    identity.appeared(1, 10, false);
    identity.appeared(2, 10, false);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ClientIdentityOf, AGiverThatWasSeenToGiveIsToldApart) {
    comesNatively(1, 10);
    const auto given = comesNatively(2, 10);
    table.give(given, 10, 11, false);
    EXPECT_EQ(name(1), "/bin/10");
    EXPECT_EQ(name(2), "/bin/11");
}

TEST_F(ClientIdentityOf, AHiddenNativeClientIsUnknownUnderItsProcessId) {
    table.hidden.insert(10);
    comesNatively(1, 10);
    EXPECT_EQ(name(1), "unidentified:10");
}

TEST_F(ClientIdentityOf, ANativeClientIsNamedWhereTheKernelSaysNoMore) {
    identity.appeared(1, 10, true);
    EXPECT_EQ(name(1), "/bin/10");
}

TEST_F(ClientIdentityOf, AClientWithoutAProcessIsUnknown) {
    identity.appeared(1, std::nullopt, true);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(identity.who(77).app.id()));
    EXPECT_NE(identity.who(1).app, identity.who(77).app);
}

TEST_F(ClientIdentityOf, APulseClientIsWhoeverAloneCanBeIt) {
    table.connect(20, pulseSocket);
    identity.appeared(1, server, true);
    EXPECT_EQ(identity.who(1).app.id(), "/bin/20") << "before it has said a word";
    identity.described(1, 1, true);
    EXPECT_EQ(name(1), "/bin/20");
}

TEST_F(ClientIdentityOf, PulseClientsThatAreThereAlreadyAreWhoTheySayTheyAre) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 21, false);
    isServed(2, 20, false);
    EXPECT_EQ(name(1), "/bin/21");
    EXPECT_EQ(name(2), "/bin/20");
}

TEST_F(ClientIdentityOf, APulseLiarAmongOthersIsTheOneThatIsLeft) {
    table.connect(20, pulseSocket);
    isServed(1, 20);
    table.connect(21, pulseSocket);
    isServed(2, 20);
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_EQ(name(2), "/bin/21");
}

TEST_F(ClientIdentityOf, TwoPulseLiarsAreNamedByTheirConnectionsOrNotAtAll) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 1);
    isServed(2, 1);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(2)));
    EXPECT_NE(name(1), name(2));
}

TEST_F(ClientIdentityOf, ALiarThatTakesTheNameOfOneThatIsJustComingGivesItToNeither) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket); // the liar's, and it is the first to speak
    isServed(2, 20);
    isServed(1, 20);
    EXPECT_NE(name(1), "/bin/21");
    EXPECT_NE(name(2), "/bin/20");
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ClientIdentityOf, APulseClientIsKnownOnceTheOtherIs) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 1);
    isServed(2, 21);
    EXPECT_EQ(name(2), "/bin/21");
    EXPECT_EQ(name(1), "/bin/20");
}

// Clients that hang up before they are looked up leave others' connections to be mistaken for
// theirs.
TEST_F(ClientIdentityOf, APulseClientThatIsGoneTakesNobodysName) {
    table.connect(20, pulseSocket); // stays, and speaks after the next
    const auto gone = table.connect(21, pulseSocket);
    identity.appeared(1, server, true);
    identity.appeared(2, server, true);
    table.hangUp(gone);
    identity.described(2, 21, true);
    table.connect(22, pulseSocket);
    identity.described(1, 20, true);
    isServed(3, 22);
    EXPECT_EQ(name(3), "/bin/22");
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ClientIdentityOf, APulseClientTakesItsConnectionBackFromOneThatIsGone) {
    table.hangUp(table.connect(20, pulseSocket));
    table.connect(21, pulseSocket);
    identity.appeared(1, server, true);
    identity.described(1, 20, true);
    isServed(2, 21);
    EXPECT_EQ(name(2), "/bin/21");
    EXPECT_TRUE(isUnknown(name(1)));
}

TEST_F(ClientIdentityOf, ANameThatWasToldIsNotTakenBack) {
    table.connect(20, pulseSocket);
    isServed(1, 1);
    EXPECT_EQ(name(1), "/bin/20");
    table.connect(21, pulseSocket);
    isServed(2, 20);
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_EQ(name(2), "/bin/21");
}

TEST_F(ClientIdentityOf, ASandboxedPulseClientSpeaksOfItsInnerProcessId) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    table.innerPids[21] = 3;
    isServed(1, 3, false);
    EXPECT_EQ(name(1), "/bin/21");
    EXPECT_EQ(identity.who(1).pid, 21);
}

TEST_F(ClientIdentityOf, TwoSandboxedPulseClientsWithOneInnerProcessIdCannotBeTold) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    table.innerPids = {{20, 3}, {21, 3}};
    isServed(1, 3, false);
    EXPECT_TRUE(isUnknown(name(1)));
}

TEST_F(ClientIdentityOf, AConnectionToPulseThatWasHandedOnIsItsHolders) {
    const auto end = table.connect(20, pulseSocket);
    isServed(1, 20);
    table.give(end, 20, 21, false);
    EXPECT_EQ(name(1), "/bin/21");
}

TEST_F(ClientIdentityOf, AHiddenPulseClientIsUnknown) {
    table.connect(20, pulseSocket);
    table.hidden.insert(20);
    isServed(1, 20);
    EXPECT_EQ(name(1), "unidentified:20");
}

TEST_F(ClientIdentityOf, AHiddenPulseClientDoesNotBecomeWhomItNames) {
    table.connect(20, pulseSocket);
    isServed(1, 20);
    table.connect(21, pulseSocket);
    table.hidden.insert(21);
    isServed(2, 20);
    EXPECT_TRUE(isUnknown(name(2)));
    EXPECT_EQ(name(1), "/bin/20");
}

TEST_F(ClientIdentityOf, AModuleOfTheServerIsTheServer) {
    isServed(1, server, true, false);
    EXPECT_EQ(name(1), "/bin/900");
}

TEST_F(ClientIdentityOf, AClientThatSaysItIsTheServerIsNot) {
    table.connect(20, pulseSocket);
    isServed(1, server, true, false);
    EXPECT_EQ(name(1), "/bin/20");
    const auto end = table.connect(21, pulseSocket);
    table.connect(22, pulseSocket);
    isServed(2, server, true, false);
    table.hangUp(end);
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ClientIdentityOf, AConnectionIsFreeAgainWhenItsClientHasLeft) {
    table.connect(20, pulseSocket);
    isServed(1, 20);
    identity.left(1);
    isServed(2, 20);
    EXPECT_EQ(name(2), "/bin/20");
}

TEST_F(ClientIdentityOf, ANameStaysOnceAStreamWasOpened) {
    const auto end = comesNatively(1, 10);
    EXPECT_EQ(name(1), "/bin/10");
    table.give(end, 10, 11, false);
    EXPECT_EQ(name(1), "/bin/10");
}

TEST_F(ClientIdentityOf, IsReadyOnceItIsKnownWhomAServerConnectedFor) {
    identity.appeared(1, 10, true);
    EXPECT_TRUE(identity.isReady(1));
    identity.appeared(2, server, true);
    EXPECT_FALSE(identity.isReady(2));
    identity.described(2, 20, true);
    EXPECT_TRUE(identity.isReady(2));
}

} // namespace
} // namespace velmoran
