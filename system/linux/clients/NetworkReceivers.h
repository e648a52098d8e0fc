// Who is at the far end of what a sound server gives away over TCP: the server makes a client of
// its own for each connection that it accepts, and the kernel knows who holds the other end. Owned
// by the reader of that server; monitor's thread.
#pragma once

#include "system/linux/clients/ClientIdentity.h"

#include <cstdint>
#include <map>
#include <optional>

namespace velmoran {

class NetworkReceivers {
public:
    NetworkReceivers(SocketFacts& facts, ProcessNaming& naming);

    /// Whoever alone can be at the far end for this client, as it was when this was asked first: an
    /// app that can't be named where several can. Nothing if nobody on this machine is, or the
    /// process is no sound server.
    std::optional<ClientIdentity::Who> receiver(ClientKey client, pid_t server);
    void left(ClientKey client) { entries_.erase(client); }
    /// After the server has gone.
    void clear() { entries_.clear(); }

private:
    struct Entry {
        std::uint64_t serverEnd = 0; ///< 0 if several could be this client's
        std::optional<ClientIdentity::Who> who;
    };

    Entry find(ClientKey client, pid_t server);

    SocketFacts& facts_;
    ProcessNaming& naming_;
    std::map<ClientKey, Entry> entries_;
};

} // namespace velmoran
