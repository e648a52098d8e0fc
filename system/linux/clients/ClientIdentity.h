// Whose a client of the sound server is, by what the kernel says of its connection and never by
// what it says itself. Of a native client the server says which process connected, and the kernel
// who holds that connection now; those that a sound server connected on behalf of its own clients
// are told apart by ServedClients. Where it can't be known, the client is an app that can't be
// named. Owned by the reader of that server; monitor's thread.
#pragma once

#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/clients/ConnectionHolders.h"
#include "system/linux/clients/ConnectionReadings.h"
#include "system/linux/clients/ServedClients.h"
#include "system/linux/clients/SocketFacts.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmoran {

class ClientIdentity {
public:
    using Who = ClientUser;

    /// `nativeSocket` is the path of the server's own socket; empty for one that only connects on
    /// behalf of others.
    ClientIdentity(SocketFacts& facts, ProcessNaming& naming, std::string nativeSocket);
    ClientIdentity(const ClientIdentity&) = delete;
    ClientIdentity& operator=(const ClientIdentity&) = delete;
    ~ClientIdentity() = default;

    /// A client was announced. `connectedPid` is the server's word for the process that connected.
    /// Reads that process at once, as it may be gone soon. `isNew` is false for those that were
    /// there before this program: their connections may have changed hands already. One that is
    /// known stays who it is: the reader has only connected anew.
    void appeared(ClientKey client, std::optional<pid_t> connectedPid, bool isNew);
    /// What the client says of itself has come or changed; both are its own words.
    void described(ClientKey client, std::optional<pid_t> claimedPid, bool saysPulse);
    /// All clients are known that were there before this program, or its connection.
    void pictureCompleted();
    /// The client has made its first node, so whoever holds its connection now is its user: a
    /// connection can have been handed on since.
    void opened(ClientKey client);
    void left(ClientKey client);
    /// All others have left.
    void keepOnly(const std::set<ClientKey>& clients);
    /// After the server has gone.
    void clear();

    /// Whether all is there that `opened` goes by; not yet for a client that another process
    /// connected for, until that has said whom for.
    bool isReady(ClientKey client) const;
    /// Whether a sound server connected it, on behalf of a client of its own.
    bool isServed(ClientKey client) const;
    /// Whether `opened` couldn't tell, and is to be called again in a moment: who comes or goes may
    /// be in the way. The last time it is an app that can't be named.
    bool isUndecided(ClientKey client) const;
    /// Whether one that couldn't be told by then may be told after all, by calling `opened` now and
    /// then, a moment apart: the server has to be heard out, and was busy all the time.
    bool mayBeToldLater(ClientKey client) const;
    /// Also for a client that was never announced: an app that can't be named. A name stays from
    /// `opened` on; one that can't be told then may be found out later.
    Who who(ClientKey client) const;

private:
    struct Entry {
        pid_t connectedPid = 0;
        pid_t claimedPid = 0; ///< 0 if it says nothing
        bool isServed = false;
        bool isOpened = false;
        unsigned attempts = 0; ///< to tell, when it was opened
        // Of a native one:
        Ends ends;     ///< the connection that must be its own; empty if several could
        Ends possible; ///< has one of these if several could; empty if nobody saw it come
        Who who;
    };

    struct Leftover;

    Who cannotTell(ClientKey client) const;
    ServedClients& servedBy(pid_t server);
    bool isNative(const SocketPair& pair) const;
    Ends nativeEnds() const;
    Ends servedEnds(pid_t server) const;
    Ends unclaimed(const Ends& all) const;
    /// By process, the clients of which isn't known which connection they have; those of a sound
    /// server too.
    std::map<pid_t, std::vector<ClientKey>> undecided() const;
    /// Whether that process holds as many unclaimed connections as clients were announced for it.
    bool isEven(pid_t pid, std::size_t held, std::size_t announced) const;
    Leftover leftover(const Ends& all) const;
    void claim(Entry& entry) const;
    void claimAll();
    void claimFrom(const Leftover& left);
    void confirm(ClientKey client, Entry& entry);
    std::optional<Who> tellApart(ClientKey client, const std::vector<ClientKey>& clients,
                                 const Ends& candidates, const ConnectionHolders& holders) const;

    SocketFacts& facts_;
    ProcessNaming& naming_;
    std::string nativeSocket_;
    std::map<ClientKey, Entry> entries_;
    std::map<pid_t, ServedClients> served_; ///< by the server's process
};

} // namespace velmoran
