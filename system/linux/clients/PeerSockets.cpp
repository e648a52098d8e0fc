#include "system/linux/clients/PeerSockets.h"

#include "system/linux/apps/WriteProtection.h"
#include "system/linux/clients/TcpSockets.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <fcntl.h>
#include <linux/inet_diag.h>
#include <linux/rtnetlink.h>
#include <linux/unix_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace velmoran {

namespace {

constexpr std::size_t smallEntry = 16UL * 1024;
constexpr std::size_t longestEnvironment = 256UL * 1024;

void addPair(const std::byte* bytes, std::size_t size, std::vector<SocketPair>& to) {
    const auto message = valueAt<unix_diag_msg>(bytes, size);
    if (!message || message->udiag_state != TCP_ESTABLISHED) {
        return;
    }
    SocketPair pair;
    pair.serverEnd = message->udiag_ino;
    for (std::size_t at = netlinkAligned(sizeof *message); at < size;) {
        const auto attribute = valueAt<rtattr>(bytes + at, size - at);
        if (!attribute || attribute->rta_len < sizeof *attribute ||
            attribute->rta_len > size - at) {
            break;
        }
        const std::byte* payload = bytes + at + sizeof *attribute;
        const std::size_t length = attribute->rta_len - sizeof *attribute;
        if (attribute->rta_type == UNIX_DIAG_NAME) {
            pair.name.assign(reinterpret_cast<const char*>(payload), length);
            // A path may come with its closing zero; an abstract name begins with one.
            while (!pair.name.empty() && pair.name.back() == '\0') {
                pair.name.pop_back();
            }
        } else if (attribute->rta_type == UNIX_DIAG_PEER) {
            pair.clientEnd = valueAt<std::uint32_t>(payload, length).value_or(0);
        }
        at += netlinkAligned(attribute->rta_len);
    }
    if (!pair.name.empty() && pair.clientEnd != 0) {
        to.push_back(std::move(pair));
    }
}

} // namespace

std::optional<pid_t> parseInnerPid(std::string_view status) {
    constexpr std::string_view key = "\nNSpid:";
    const auto begin = status.find(key);
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    auto line = status.substr(begin + key.size());
    line = line.substr(0, line.find('\n'));
    line = line.substr(line.find_last_of(" \t") + 1);
    pid_t pid = 0;
    const auto end = line.data() + line.size();
    const auto [rest, error] = std::from_chars(line.data(), end, pid);
    return error == std::errc() && rest == end && pid > 0 ? std::optional(pid) : std::nullopt;
}

bool parseUnixDump(const std::byte* bytes, std::size_t size, std::vector<SocketPair>& pairs) {
    return walkDiagMessages(bytes, size, [&](const std::byte* message, std::size_t length) {
        addPair(message, length, pairs);
    });
}

bool namesAnotherProcess(std::string_view environment) {
    const auto variables = parseCommandLine(environment);
    return std::any_of(variables.begin(), variables.end(), [](const std::string& variable) {
        const bool isOfClients =
            variable.starts_with("PULSE_PROP") || variable.starts_with("PIPEWIRE_PROPS=");
        return (isOfClients && variable.find("application.process.id") != std::string::npos) ||
               variable.starts_with("PIPEWIRE_CONFIG_");
    });
}

PeerSockets::PeerSockets(ProcFs proc) : proc_(std::move(proc)) {}

std::vector<SocketPair> PeerSockets::pairs() {
    std::vector<SocketPair> found;
    unix_diag_req request{};
    request.sdiag_family = AF_UNIX;
    request.udiag_states = 1U << TCP_ESTABLISHED;
    request.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_PEER;
    diag_.dump(request, [&](const std::byte* bytes, std::size_t size) {
        return parseUnixDump(bytes, size, found);
    });
    return found;
}

std::vector<SocketPair> PeerSockets::acceptedOverTcp() {
    std::vector<TcpSocket> sockets;
    for (const auto family : {AF_INET, AF_INET6}) {
        inet_diag_req_v2 request{};
        request.sdiag_family = static_cast<std::uint8_t>(family);
        request.sdiag_protocol = IPPROTO_TCP;
        request.idiag_states = (1U << TCP_ESTABLISHED) | (1U << TCP_LISTEN);
        diag_.dump(request, [&](const std::byte* bytes, std::size_t size) {
            return parseTcpDump(bytes, size, sockets);
        });
    }
    return acceptedPairs(sockets);
}

std::vector<std::uint64_t> PeerSockets::socketsOf(pid_t pid) {
    return proc_.sockets(pid);
}

std::map<std::uint64_t, std::vector<pid_t>>
PeerSockets::holdersOf(const std::vector<std::uint64_t>& sockets) {
    std::map<std::uint64_t, std::vector<pid_t>> holders;
    for (const auto socket : sockets) {
        holders[socket];
    }
    if (holders.empty()) {
        return holders;
    }
    for (const auto pid : proc_.pids()) {
        for (const auto socket : socketsOf(pid)) {
            const auto found = holders.find(socket);
            if (found != holders.end() && (found->second.empty() || found->second.back() != pid)) {
                found->second.push_back(pid);
            }
        }
    }
    return holders;
}

bool PeerSockets::isReadable(pid_t pid) {
    return proc_.isReadable(pid) || proc_.survivingThread(pid);
}

std::optional<pid_t> PeerSockets::innerPid(pid_t pid) {
    const auto status = readFileUpTo(proc_.path(pid, "status"), 16384);
    return status ? parseInnerPid(*status) : std::nullopt;
}

bool PeerSockets::openedItself(pid_t pid, std::uint64_t socket) {
    bool isOwn = false;
    proc_.eachDescriptor(pid, [&](int folder, const char* name) {
        std::array<char, 64> text; // NOLINT: filled by the call; what is longer is no socket
        const auto size = isOwn ? 0 : ::readlinkat(folder, name, text.data(), text.size());
        if (size > 0 && socketInode({text.data(), static_cast<std::size_t>(size)}) == socket) {
            const auto info =
                readFileUpTo(proc_.path(pid, std::string("fdinfo/") + name), smallEntry);
            const auto flags = info ? parseDescriptorFlags(*info) : std::nullopt;
            isOwn = (flags.value_or(0) & unsigned{O_CLOEXEC}) != 0;
        }
    });
    return isOwn;
}

bool PeerSockets::speaksForItself(pid_t pid) {
    // One that is longer may say anything behind what is read of it.
    const auto environment = readFileUpTo(proc_.path(pid, "environ"), longestEnvironment);
    return environment && environment->size() < longestEnvironment &&
           !namesAnotherProcess(*environment) && !isSoundServer(pid);
}

bool PeerSockets::isAnybodyHidden() {
    const auto pids = proc_.pids();
    return std::any_of(pids.begin(), pids.end(), [this](pid_t pid) {
        return proc_.isOutOfSight(pid) && proc_.uid(pid) == ::getuid();
    });
}

bool PeerSockets::isAsleep(pid_t pid) {
    const auto stat = proc_.stat(pid);
    return stat && stat->state == 'S';
}

bool PeerSockets::isSoundServer(pid_t pid) {
    const auto executable = proc_.executable(pid);
    if (!executable) {
        return false;
    }
    const auto name = std::string_view(*executable).substr(executable->rfind('/') + 1);
    // Root's own file: a copy in somebody's home, with a socket of the same name, is no server.
    return (name == "pipewire" || name == "pipewire-pulse") &&
           WriteProtection().protects(*executable);
}

} // namespace velmoran
