#include "system/SoundServer.h"

#include "system/linux/pipewire/ServerSocket.h"
#include "system/linux/pulse/PulseContext.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace velmoran {

namespace {

bool listens(const std::string& path) {
    const int socket = ServerSocket::connect(path);
    return socket >= 0 && ::close(socket) == 0;
}

bool pulseListens() {
    if (const auto path = PulseContext::socketPath({})) {
        return listens(*path);
    }
    // Anything else stands on another machine, and is taken to be there.
    const char* server = std::getenv("PULSE_SERVER"); // NOLINT(concurrency-mt-unsafe)
    return server && *server != '\0';
}

} // namespace

bool soundServerAnswers() {
    return listens(ServerSocket::defaultPath()) || pulseListens();
}

} // namespace velmoran
