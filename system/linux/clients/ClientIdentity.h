// Whose a client of the sound server is, by what the kernel says of its connection and never by
// what it says itself. A client's own word for its process is only a hint at which connection is
// its own: it is believed if that process holds a connection that no other client has. Where it
// can't be known, the client is an app that can't be named. Owned by the reader of that server;
// monitor's thread.
#pragma once

#include "core/records/SystemSnapshot.h"
#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/clients/SocketFacts.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// What the server calls a client for as long as its connection lasts; never used twice.
using ClientKey = std::uint64_t;

class ClientIdentity {
public:
    struct Who {
        AppRef app;
        pid_t pid = 0; ///< 0 if it isn't known

        bool operator==(const Who&) const = default;
    };

    /// `nativeSocket` is the path of the server's own socket; empty for one that only connects on
    /// behalf of others.
    ClientIdentity(SocketFacts& facts, ProcessNaming& naming, std::string nativeSocket);

    /// A client was announced. `connectedPid` is the server's word for the process that connected.
    /// Reads that process at once, as it may be gone soon. `isNew` is false for those that were
    /// there before this program: their connections may have changed hands already.
    void appeared(ClientKey client, std::optional<pid_t> connectedPid, bool isNew);
    /// What the client says of itself has come or changed; both are its own words.
    void described(ClientKey client, std::optional<pid_t> claimedPid, bool saysPulse);
    /// The client has made its first node, so whoever holds its connection now is its user: a
    /// connection can have been handed on since.
    void opened(ClientKey client);
    void left(ClientKey client);
    /// After the server has gone.
    void clear() { entries_.clear(); }

    /// Whether all is there that `opened` goes by; not yet for a client that another process
    /// connected for, until that has said whom for.
    bool isReady(ClientKey client) const;
    /// Whether a sound server connected it, on behalf of a client of its own.
    bool isServed(ClientKey client) const;
    /// Also for a client that was never announced: an app that can't be named.
    Who who(ClientKey client) const;

private:
    struct Entry {
        pid_t connectedPid = 0;
        pid_t claimedPid = 0; ///< 0 if it says nothing
        bool saysPulse = false;
        bool isServed = false; ///< connected by a sound server, on behalf of a client of its own
        bool isDescribed = false;
        bool isOpened = false;
        bool hadUnclaimedEnd = false; ///< one of the server's was nobody's yet when it appeared
        bool isKnown = false;
        /// The client's end of the connection that must be this client's; 0 if several could be.
        std::uint64_t clientEnd = 0;
        /// The process that it says it is doesn't hold that connection. Either it lies, or its own
        /// is closed already and this one is that of a client yet to come.
        bool isDoubtful = false;
        /// False while a connection of somebody unknown was there when the claim was believed.
        bool isSure = false;
        /// Another client says that it is the same process, and one of the two lies: for good.
        bool isContested = false;
        Who who;
    };

    template <class Predicate>
    bool anyEntry(Predicate predicate) const;
    Who cannotTell(ClientKey client) const;
    bool isNative(const SocketPair& pair) const;
    std::vector<std::uint64_t> nativeEnds() const;
    std::vector<std::uint64_t> servedEnds(pid_t server) const;
    std::vector<std::uint64_t> unclaimedOf(std::vector<std::uint64_t> ends) const;
    /// Those of the ends that are held only by clients that are doubtful and have opened nothing.
    std::vector<std::uint64_t> doubtfulOf(std::vector<std::uint64_t> ends) const;
    /// Those of the ends that the process holds which goes by that number, and its number here.
    struct Own {
        std::vector<std::uint64_t> ends;
        pid_t pid = 0;
    };
    Own ownOf(const std::vector<std::uint64_t>& ends, pid_t claim) const;
    void reclaimFromDoubtful(std::uint64_t clientEnd);
    /// The one app that holds all of them; nothing if that is several, or none that can be seen.
    std::optional<Who> soleHolder(const std::vector<std::uint64_t>& ends, pid_t preferred) const;

    void claimNative(Entry& entry) const;
    void claimServed(Entry& entry) const;
    void confirmNative(ClientKey client, Entry& entry) const;
    void resolveServed(ClientKey client, Entry& entry);
    void confirmServed(ClientKey client, Entry& entry) const;
    void retryUnknown();

    SocketFacts& facts_;
    ProcessNaming& naming_;
    std::string nativeSocket_;
    std::map<ClientKey, Entry> entries_;
};

} // namespace velmoran
