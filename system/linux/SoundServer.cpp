// Where PipeWire and PulseAudio listen: docs.pipewire.org (pw_context_connect, PIPEWIRE_REMOTE) and
// the "server string" of PulseAudio's client.conf.
#include "system/SoundServer.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {

namespace {

std::string variable(const char* name) {
    const auto* value = std::getenv(name);
    return value ? value : "";
}

bool listens(const std::string& path) {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return false;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return false;
    }
    const bool connected =
        ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(descriptor);
    return connected;
}

bool pipeWireListens() {
    auto name = variable("PIPEWIRE_REMOTE");
    if (name.empty()) {
        name = "pipewire-0";
    }
    if (name.starts_with('/')) {
        return listens(name);
    }
    for (const auto* folder : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"}) {
        if (const auto path = variable(folder); !path.empty()) {
            return listens(path + "/" + name);
        }
    }
    return false;
}

bool pulseListens() {
    auto server = variable("PULSE_SERVER");
    if (!server.empty()) {
        if (server.starts_with("unix:")) {
            server = server.substr(5);
        }
        // Anything else stands on another machine, and is taken to be there.
        return !server.starts_with('/') || listens(server);
    }
    if (const auto path = variable("PULSE_RUNTIME_PATH"); !path.empty()) {
        return listens(path + "/native");
    }
    const auto folder = variable("XDG_RUNTIME_DIR");
    return !folder.empty() && listens(folder + "/pulse/native");
}

} // namespace

bool soundServerAnswers() {
    return pipeWireListens() || pulseListens();
}

} // namespace velmoran
