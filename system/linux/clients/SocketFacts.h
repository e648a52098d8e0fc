// What the kernel knows of the sockets of a sound server's clients, as those need it who find out
// whose a client is. Two stand behind it: the machine, and tables that a test lays out.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velmoran {

/// Both ends of a connection to a Unix socket that has a name. Sockets go by their inode, which
/// "/proc/PID/fd" shows as "socket:[INODE]".
struct SocketPair {
    std::string name;            ///< of the socket that was connected to
    std::uint64_t serverEnd = 0; ///< what the server accepted
    std::uint64_t clientEnd = 0;

    bool operator==(const SocketPair&) const = default;
};

class SocketFacts {
public:
    virtual ~SocketFacts() = default;
    /// All that are connected now; empty also when the kernel doesn't say.
    virtual std::vector<SocketPair> pairs() = 0;
    /// The connections over TCP that a socket of this machine has accepted which still listens.
    /// Without names; `clientEnd` is 0 for one from another machine. Costs a walk over all TCP
    /// sockets.
    virtual std::vector<SocketPair> acceptedOverTcp() = 0;
    /// The sockets that the process holds; empty when it can't be looked at.
    virtual std::vector<std::uint64_t> socketsOf(pid_t pid) = 0;
    /// Who holds each of these sockets; one that nobody is seen to hold has an empty list. Costs a
    /// walk over all processes.
    virtual std::map<std::uint64_t, std::vector<pid_t>>
    holdersOf(const std::vector<std::uint64_t>& sockets) = 0;
    /// False for one that is gone or forbids being looked at.
    virtual bool isReadable(pid_t pid) = 0;
    /// What the process calls itself inside its own process namespace.
    virtual std::optional<pid_t> innerPid(pid_t pid) = 0;
    /// Whether the program that the process runs has opened this socket, or accepted it, itself: a
    /// descriptor that it was started with isn't closed when a program is started.
    virtual bool openedItself(pid_t pid, std::uint64_t socket) = 0;
    /// False where others choose what the process says of itself: for a sound server, and where its
    /// environment may. Unknown is false.
    virtual bool speaksForItself(pid_t pid) = 0;
    /// Whether a process of this user's forbids being looked at. Costs a walk over all processes.
    virtual bool isAnybodyHidden() = 0;
    /// Whether the process waits for something to happen. A server that does has heard of every
    /// connection that was closed before: such a thing would wake it.
    virtual bool isAsleep(pid_t pid) = 0;
    /// Whether the process runs the system's own sound server, which connects on behalf of others.
    virtual bool isSoundServer(pid_t pid) = 0;
};

} // namespace velmoran
