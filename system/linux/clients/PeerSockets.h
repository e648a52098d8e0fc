// The kernel's own word on who is connected to whom over Unix sockets: a dump by NETLINK_SOCK_DIAG
// (sock_diag(7)), joined with the descriptors under /proc. Keeps nothing but one netlink socket.
// Owned by the machine; monitor's thread.
#pragma once

#include "system/linux/clients/SocketFacts.h"
#include "system/linux/kernel/ProcFs.h"
#include "system/linux/kernel/SocketDiag.h"

#include <cstddef>
#include <string_view>

namespace velmoran {

class PeerSockets : public SocketFacts {
public:
    explicit PeerSockets(ProcFs proc = ProcFs());

    std::vector<SocketPair> pairs() override;
    std::vector<SocketPair> acceptedOverTcp() override;
    std::vector<std::uint64_t> socketsOf(pid_t pid) override;
    std::map<std::uint64_t, std::vector<pid_t>>
    holdersOf(const std::vector<std::uint64_t>& sockets) override;
    bool isReadable(pid_t pid) override;
    std::optional<pid_t> innerPid(pid_t pid) override;
    bool openedItself(pid_t pid, std::uint64_t socket) override;
    bool speaksForItself(pid_t pid) override;
    bool isAnybodyHidden() override;
    bool isAsleep(pid_t pid) override;
    bool isSoundServer(pid_t pid) override;

private:
    ProcFs proc_;
    SocketDiag diag_;
};

/// The last number of the line "NSpid:" in /proc/PID/status.
std::optional<pid_t> parseInnerPid(std::string_view status);
/// Whether an environment, as /proc/PID/environ has it, may tell the sound libraries which process
/// the program is to say it is.
bool namesAnotherProcess(std::string_view environment);
/// One answer of the kernel: adds the connections that it tells of. False once the dump is done or
/// was refused. Bytes of another form than the kernel's end the dump.
bool parseUnixDump(const std::byte* bytes, std::size_t size, std::vector<SocketPair>& pairs);

} // namespace velmoran
