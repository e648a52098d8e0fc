// Connections that one program opens and another holds: what attacks hand on. Main thread of the
// attack's program.
#pragma once

#include "integration/attacks/Attack.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <sys/socket.h>
#include <sys/un.h>

namespace velmoran::attacks {

/// Open as long as this object lives. Every program that is started meanwhile is started with it.
class OpenConnection {
public:
    explicit OpenConnection(const std::filesystem::path& socket)
        : descriptor_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, socket.c_str(), sizeof address.sun_path - 1);
        if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
            0) {
            throw std::runtime_error("no connection to " + socket.string());
        }
    }
    /// Another descriptor of one that this program has, taken over by the others that it starts.
    explicit OpenConnection(int other) : descriptor_(::dup(other)) {}
    ~OpenConnection() { ::close(descriptor_); }
    OpenConnection(const OpenConnection&) = delete;
    OpenConnection& operator=(const OpenConnection&) = delete;

    [[nodiscard]] int number() const { return descriptor_; }

private:
    int descriptor_;
};

/// An app of its own that does nothing for as long as the attack takes, but holds what it was
/// started with.
inline ChildProcess& startHeir(Scene& scene, const char* name, const char* program = "heir") {
    const auto copy = scene.session().home() / program;
    if (!std::filesystem::exists(copy)) {
        std::filesystem::copy_file("/usr/bin/sleep", copy);
    }
    return scene.session().start(name, {copy, "600"});
}

/// A PulseAudio recorder that says that it is that process.
inline ChildProcess& startPretender(Scene& scene, const std::string& name, pid_t claim) {
    auto& environment = scene.session().environment();
    environment["PULSE_PROP"] = "application.process.id=" + std::to_string(claim);
    auto& recorder = scene.session().start(name, {scene.program(name, "pulse-client")});
    environment.erase("PULSE_PROP");
    return recorder;
}

inline std::filesystem::path pulseSocket(Scene& scene) {
    return scene.session().runtimeFolder() / "pulse/native";
}

inline std::filesystem::path pipeWireSocket(Scene& scene) {
    return scene.session().runtimeFolder() / "pipewire-0";
}

} // namespace velmoran::attacks
