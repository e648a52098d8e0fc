// Who holds connections, by the kernel's word at one moment: a walk over all processes when it is
// made. Owned by whoever asks; monitor's thread.
#pragma once

#include "core/records/SystemSnapshot.h"
#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/clients/ConnectionReadings.h"
#include "system/linux/clients/SocketFacts.h"

#include <map>
#include <optional>
#include <vector>

namespace velmoran {

/// Whose a client is.
struct ClientUser {
    AppRef app;
    pid_t pid = 0; ///< 0 if it isn't known

    bool operator==(const ClientUser&) const = default;
};

class ConnectionHolders {
public:
    /// Both outlive this.
    ConnectionHolders(SocketFacts& facts, ProcessNaming& naming, const Ends& ends);

    /// The one app that alone holds all of them, by the process `preferred` if that is among its
    /// own; nothing if that is several, or may be somebody who can't be seen.
    std::optional<ClientUser> sole(const Ends& ends, pid_t preferred = 0) const;
    /// Which of them each process holds.
    std::map<pid_t, Ends> byHolder() const;
    const std::vector<pid_t>& holders(std::uint64_t end) const;
    /// Nobody is seen to hold it.
    bool isUnheld(std::uint64_t end) const;
    /// Whether the programs that hold these have opened or accepted all of them themselves: what a
    /// program was started with says nothing about it.
    bool areOpenedByHolders(const Ends& ends) const;
    /// Whether somebody who goes by that number, here or inside a sandbox, holds it.
    bool isHeldBy(std::uint64_t end, pid_t number) const;
    /// Whether what is said over this connection must be its holders' own word: they have opened it
    /// themselves, and say of themselves what they are.
    bool isTheirWord(std::uint64_t end) const;

private:
    pid_t innerPid(pid_t pid) const;

    SocketFacts& facts_;
    ProcessNaming& naming_;
    std::map<std::uint64_t, std::vector<pid_t>> holders_;
    mutable std::map<pid_t, pid_t> innerPids_; ///< as far as they were asked for
};

/// Of clients that each have one of these ends, and say that they are these processes (0 says
/// nothing), those whose word leaves no other reading, with their ends: an honest program says what
/// it is, so as many clients say it as it has connections, unless one of these has no client, or
/// somebody lies. Those that are left over have what is left over.
EndsOfClients believedClaims(const EndsOfClients& possible,
                             const std::map<ClientKey, pid_t>& claims,
                             const ConnectionHolders& holders);

} // namespace velmoran
