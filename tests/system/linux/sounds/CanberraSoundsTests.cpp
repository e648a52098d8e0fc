#include "support/TemporaryDirectory.h"
#include "system/linux/sounds/CanberraSounds.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {
namespace {

/// Takes connections as a sound server that hangs does: the kernel answers, nobody else.
class HangingServer {
public:
    explicit HangingServer(const std::string& path)
        : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(socket_, 8) != 0) {
            throw std::runtime_error("no socket at " + path);
        }
    }
    ~HangingServer() { ::close(socket_); }
    HangingServer(const HangingServer&) = delete;
    HangingServer& operator=(const HangingServer&) = delete;

    bool wasAsked() const {
        pollfd ready{.fd = socket_, .events = POLLIN, .revents = 0};
        return ::poll(&ready, 1, 30000) == 1;
    }

private:
    int socket_;
};

/// A variable of the environment as long as this is there.
class Variable {
public:
    Variable(const char* name, const std::string& value) : name_(name) {
        if (const auto* before = std::getenv(name)) { // NOLINT: no threads yet
            before_ = before;
        }
        ::setenv(name, value.c_str(), 1); // NOLINT: likewise
    }
    ~Variable() {
        if (before_) {
            ::setenv(name_, before_->c_str(), 1); // NOLINT: the library has read it
        } else {
            ::unsetenv(name_); // NOLINT: likewise
        }
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

/// Where the sounds go that are played as long as this is there, with nothing of anybody's home.
class Server {
public:
    Server(const TemporaryDirectory& home, const std::string& name)
        : home_("HOME", home.path()),
          runtime_("XDG_RUNTIME_DIR", home.path()),
          server_("PULSE_SERVER", "unix:" + home.path(name)) {}

private:
    Variable home_;
    Variable runtime_;
    Variable server_;
};

using Seconds = std::chrono::duration<double>;

TEST(CanberraSounds, AServerThatHangsHoldsUpNeitherACardNorTheEnd) {
    const TemporaryDirectory folder;
    const HangingServer hanging(folder.path("native"));
    const Server server(folder, "native");
    const auto begin = std::chrono::steady_clock::now();
    {
        CanberraSounds sounds;
        sounds.playWarning();
        sounds.playWarning();
        // The library waits for 30 seconds.
        EXPECT_LT(Seconds(std::chrono::steady_clock::now() - begin).count(), 5);
        ASSERT_TRUE(hanging.wasAsked());
    }
    EXPECT_LT(Seconds(std::chrono::steady_clock::now() - begin).count(), 15);
}

TEST(CanberraSounds, IsSilentWithoutAServer) {
    const TemporaryDirectory folder;
    const Server server(folder, "nobody");
    CanberraSounds sounds;
    sounds.playWarning();
    sounds.playWarning();
}

TEST(CanberraSounds, EndsWithoutASound) {
    const CanberraSounds sounds;
}

} // namespace
} // namespace velmoran
