// What the attacks on the single start share: the place where a start looks for one that runs, and
// the desktop's program. On the main thread of the attack.
#pragma once

#include "integration/attacks/Attack.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran::attacks {

/// Listens there until it goes. The attack is in the session already.
class SingleInstancePlace {
public:
    SingleInstancePlace() : socket_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        const char* session = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
        const std::string name = "org.velmoran.Velmoran-" + std::to_string(::getuid()) + "-" +
                                 (session != nullptr ? session : "");
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (name.size() >= sizeof address.sun_path) {
            throw std::runtime_error("the place has too long a name");
        }
        std::memcpy(&address.sun_path[1], name.data(), name.size());
        const auto size = offsetof(sockaddr_un, sun_path) + 1 + name.size();
        if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address),
                   static_cast<socklen_t>(size)) != 0 ||
            ::listen(socket_, 64) != 0) {
            throw std::runtime_error("the place is taken already");
        }
    }
    ~SingleInstancePlace() { ::close(socket_); }
    SingleInstancePlace(const SingleInstancePlace&) = delete;
    SingleInstancePlace& operator=(const SingleInstancePlace&) = delete;

    [[nodiscard]] int socket() const { return socket_; }

private:
    int socket_;
};

/// The program in the tray, as "velmoran".
inline ChildProcess& startDesktop(Scene& scene) {
    return scene.session().start("velmoran", {velmoran(), "--login-start", "--device-folder",
                                              scene.session().file("dev").string()});
}

/// Whether that app is among the uses that `velmoranctl status` lists.
inline bool seesUse(Scene& scene, const std::string& app) {
    std::istringstream lines(scene.ctl({"status"}).output);
    for (std::string line; std::getline(lines, line);) {
        const auto at = line.find(app); // its folder follows
        if (at != line.npos && line.find(" is using the microphone", at) != line.npos) {
            return true;
        }
    }
    return false;
}

} // namespace velmoran::attacks
