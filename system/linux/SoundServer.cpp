#include "system/SoundServer.h"

#include "system/linux/kernel/Descriptor.h"
#include "system/linux/pipewire/ServerSocket.h"
#include "system/linux/pulse/PulseContext.h"

#include <cstdlib>
#include <string>

namespace velmoran {

namespace {

bool listens(const std::string& path) {
    return Descriptor(ServerSocket::connect(path)).isOpen();
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
