// Who gets a microphone's sound by a detour through the sound server. Belongs to one attack; its
// thread.
#pragma once

#include "integration/attacks/Attack.h"

#include <string>
#include <vector>

namespace velmoran::attacks {

/// A recorder by PulseAudio's protocol under a name of its own, that keeps what it hears.
class Listener {
public:
    /// Starts it at `source`; `options` are pacat's.
    Listener(Scene& scene, std::string name, const std::string& source,
             const std::vector<std::string>& options = {});

    [[nodiscard]] const std::string& name() const { return name_; }
    /// It has got sound that isn't silence.
    [[nodiscard]] bool hears() const;

private:
    std::string name_;
    std::filesystem::path heard_;
};

/// Whether a listener at `source` is told by its name within a second of its first sound. Throws
/// if it never hears any, since then nothing was tried.
Verdict verdictOnListenerAt(Scene& scene, const std::string& source);

/// A process of the caller's that runs one of PipeWire's modules as a client of the server:
/// `module` without "libpipewire-module-", and its arguments.
ChildProcess& runModule(Scene& scene, const std::string& module, const std::string& arguments);
/// The server for PulseAudio's clients loads a module; its number. Throws if it can't.
std::string loadModule(Scene& scene, std::vector<std::string> moduleAndArguments);
/// The properties of one end of a loopback that is to be linked to that node.
std::string loopbackEnd(const std::string& node, const std::string& group);
/// Waits until there is a source of that name; throws if none comes.
void awaitSource(Scene& scene, const std::string& name);

} // namespace velmoran::attacks
