// Whose the clients are that one sound server has connected on behalf of its own: the kernel says
// who holds the connections to that server, and the server which clients it has, but nobody which
// of them belong together. A client has one of those connections that were there when it came.
// Where that leaves several apps, what clients say of themselves counts only if it leaves no other
// reading. Owned by ClientIdentity; monitor's thread.
#pragma once

#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/clients/ConnectionHolders.h"
#include "system/linux/clients/ConnectionReadings.h"
#include "system/linux/clients/SocketFacts.h"

#include <functional>
#include <map>
#include <vector>

namespace velmoran {

class ServedClients {
public:
    /// `connections` says which there are to that server. All outlive this.
    ServedClients(SocketFacts& facts, ProcessNaming& naming, pid_t server,
                  std::function<Ends()> connections);

    // As ClientIdentity has them.
    void appeared(ClientKey client, bool isNew);
    void described(ClientKey client, pid_t claimedPid, bool saysPulse);
    void pictureCompleted();
    /// Again for one that couldn't be told, as long as `waitsForServer`, a moment later each time.
    void opened(ClientKey client);
    /// It is told apart once the server has said who else has come or left: connections are closed
    /// whose clients are still there, or open that are nobody's yet.
    bool waitsForServer(ClientKey client) const {
        const auto& entry = clients_.at(client);
        return !hangups_.empty() || (entry.isKnown && !entry.isNamed);
    }
    void left(ClientKey client);
    bool isReady(ClientKey client) const { return clients_.at(client).isDescribed; }
    const ClientUser& user(ClientKey client) const { return clients_.at(client).user; }

private:
    /// For what the server says after something has happened: its word takes a while to come.
    struct Wait {
        bool isHeard = false; ///< the server has been asleep since
        unsigned looks = 0;   ///< since then, a moment apart

        void look() { looks += isHeard ? 1 : 0; }
    };

    struct Client {
        pid_t claimedPid = 0; ///< 0 if it says nothing
        bool saysPulse = false;
        bool isNew = false;
        bool isDescribed = false;
        bool isOpened = false;
        bool isKnown = false;
        bool isNamed = false;    ///< told as `user`, and stays who it is
        bool isBelieved = false; ///< known by words too, by which nobody else is told apart
        bool isSettled = false;  ///< `ends` is its own, for good
        /// Were there when it came: its own is among them, or was closed before.
        Ends candidates;
        /// One of these must be its own; empty if it isn't known which.
        Ends ends;
        ClientUser holder; ///< of these, once it is known
        ClientUser user;   ///< who it is said to be
        Wait wait;         ///< since it was first to be told
    };
    struct Departed {
        Ends ends; ///< empty if it wasn't known which was its own
        bool isNew = true;
    };

    ClientUser cannotTell(ClientKey client) const;
    void forget(ClientKey client);
    void know(Client& client, const Ends& ends, const ConnectionHolders& holders);
    bool isOfTheServer(const Client& client) const;
    bool saysWhatTheKernelSays(const Client& client) const;
    bool isBorneOut(const Client& client) const;
    bool isVouchedFor(const Client& client) const;
    void name(Client& client) const;
    static bool isCertain(const Client& client);
    EndsOfClients openCandidates(bool withModules);
    bool settleModules();
    void noteDepartures(const Ends& live);
    void noteHangups(const Ends& closed, Ends& explained);
    void resolve(const Ends& live);
    void tellApart(const EndsOfClients& candidates);
    void nameHidden(ClientKey client, const Ends& ends, const ConnectionHolders& holders);

    SocketFacts& facts_;
    ProcessNaming& naming_;
    const pid_t server_;
    const std::function<Ends()> connections_;
    bool isComplete_ = false;
    std::map<ClientKey, Client> clients_;
    /// By the client's end: connections that were closed while nobody was known to have left.
    std::map<std::uint64_t, Wait> hangups_;
    std::vector<Departed> departed_; ///< whose connections aren't seen to be closed yet
};

} // namespace velmoran
