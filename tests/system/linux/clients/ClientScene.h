// Clients of a sound server on a table of processes and sockets, and what is told of them.
#pragma once

#include "support/FakeNaming.h"
#include "system/linux/clients/ClientIdentity.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace velmoran::testing {

inline constexpr pid_t server = 900; // the one that serves PulseAudio's clients
inline constexpr const char* nativeSocket = "/run/user/1/pipewire-0";
inline constexpr const char* pulseSocket = "/run/user/1/pulse/native";

// Processes with the sockets that they hold. A connection has the server's end and the client's,
// which are numbered apart by 1000.
class ScriptedSockets : public SocketFacts {
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
    /// `to` is started with it.
    void bequeath(std::uint64_t end, pid_t from, pid_t to, bool keeps) {
        give(end, from, to, keeps);
        inherited[to].insert(end);
    }

    std::vector<SocketPair> pairs() override {
        ++dumps;
        return all;
    }
    std::vector<SocketPair> acceptedOverTcp() override { return {}; }
    std::vector<std::uint64_t> socketsOf(pid_t pid) override {
        ++looks;
        if (hidden.contains(pid)) {
            return {};
        }
        return {sockets[pid].begin(), sockets[pid].end()};
    }
    std::map<std::uint64_t, std::vector<pid_t>>
    holdersOf(const std::vector<std::uint64_t>& ends) override {
        ++walks;
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
    bool openedItself(pid_t pid, std::uint64_t end) override {
        const auto found = inherited.find(pid);
        return found == inherited.end() || !found->second.contains(end);
    }
    bool speaksForItself(pid_t pid) override { return !puppets.contains(pid); }
    bool isAnybodyHidden() override { return !hidden.empty(); }
    bool isAsleep(pid_t pid) override { return pid == server && isServerAsleep; }
    bool isSoundServer(pid_t pid) override { return pid == server; }

    std::vector<SocketPair> all;
    std::map<pid_t, std::set<std::uint64_t>> sockets;
    std::set<pid_t> hidden;
    std::map<pid_t, pid_t> innerPids;
    std::map<pid_t, std::set<std::uint64_t>> inherited; ///< what they were started with
    std::set<pid_t> puppets;                            ///< others choose what they say
    bool isServerAsleep = false;                        ///< it has told of all who have left
    // What was asked for: connections, what one process holds, who holds something.
    int dumps = 0;
    int looks = 0;
    int walks = 0;

private:
    std::uint64_t next_ = 1;
};

// One that can't be looked at is named as the machine's own naming does.
struct TableNaming : ProcessNaming {
    explicit TableNaming(ScriptedSockets& facts) : table(facts) {}
    AppRef identify(pid_t pid) override {
        return table.hidden.contains(pid) ? unidentified(std::to_string(pid)) : fake.identify(pid);
    }
    AppRef unidentified(const std::string& key) override { return fake.unidentified(key); }
    void pin(std::uint32_t objectID, AppRef app) override { fake.pin(objectID, std::move(app)); }
    void unpin(std::uint32_t objectID) override { fake.unpin(objectID); }

    ScriptedSockets& table;
    FakeNaming fake;
};

struct ClientWorld {
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
    /// As the reader looks again while the server has nothing more to say.
    std::string laterName(ClientKey client) {
        table.isServerAsleep = true;
        for (int look = 0; look < 3; ++look) {
            identity.opened(client);
        }
        return identity.who(client).app.id();
    }
    static bool isUnknown(const std::string& id) { return id.starts_with("unidentified:"); }

    ScriptedSockets table;
    TableNaming naming{table};
    ClientIdentity identity{table, naming, nativeSocket};
};

class ClientScene : public ::testing::Test, protected ClientWorld {};

} // namespace velmoran::testing
