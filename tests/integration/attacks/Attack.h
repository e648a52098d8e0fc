// What an attack stands on: a private session with real servers, the Velmoran that was built, waits
// with a bound, and the last line that says how it went. An attack is a file of its own with
// one function of the file's name; `main` is here. It looks like this:
//
//     // secret-recorder.cpp: a recorder of which Velmoran might not know.
//     #include "integration/attacks/Attack.h"
//
//     namespace velmoran::attacks {
//
//     Verdict secretRecorder(Scene& scene) {
//         scene.startSound();
//         scene.startWatch();
//         scene.record("spy");
//         if (!scene.tellsStart("spy", within(100ms))) {
//             return fell("a recorder wasn't told");
//         }
//         return held("a recorder was told");
//     }
//
//     } // namespace velmoran::attacks
//
// All lives on the main thread of the attack's program.
#pragma once

#include "support/PrivateSession.h"

#include <chrono>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran::attacks {

using namespace std::chrono_literals;
using support::Bound;
using support::ChildProcess;
using support::patience;
using support::waitUntil;

/// `bound`, or more in a build with sanitizers, whose programs take their time.
[[nodiscard]] Bound within(Bound bound);

/// How an attack went, and for people what was seen, with the figures.
struct Verdict {
    bool hasHeld = false;
    std::string seen;
};
Verdict held(std::string seen);
Verdict fell(std::string seen);

/// It can't be tried on this machine, for the reason that it says.
struct NotTried : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The programs of the build, or those that the environment names by the same words in capitals.
std::string velmoran();
std::string velmoranctl();
std::string holdNode();
std::string floodBus();
/// A client of the sound server that comes with the tests: "graph-client", "pulse-client" …
std::string clientProgram(const std::string& name);

class Scene {
public:
    explicit Scene(bool isSlow);

    /// The long form was asked for.
    [[nodiscard]] bool isSlow() const { return isSlow_; }
    [[nodiscard]] support::PrivateSession& session() { return session_; }
    /// All servers and a microphone; this process is in the session from then on.
    void startSound();
    /// `velmoranctl watch` as "watch"; when this returns it watches and answers on the bus.
    ChildProcess& startWatch(const std::vector<std::string>& options = {});
    /// `velmoranctl` with these arguments, to its end.
    support::Finished ctl(std::vector<std::string> arguments, Bound bound = patience);

    /// A copy of a client under that name in the session's home, so that it is an app of its own.
    std::string program(const std::string& name, const std::string& client = "graph-client");
    /// A recorder that is told under that name.
    ChildProcess& record(const std::string& name, const std::vector<std::string>& options = {});

    /// All that the watch has said.
    [[nodiscard]] std::string told();
    /// Whether a line of it holds all these texts, in this order.
    [[nodiscard]] bool hasTold(const std::vector<std::string>& texts);
    bool tells(const std::vector<std::string>& texts, Bound bound = patience);
    /// That an app turned a device on, or was already using it when a new look began.
    bool tellsStart(const std::string& app, Bound bound = patience,
                    const std::string& device = "the microphone");
    bool tellsEnd(const std::string& app, Bound bound = patience,
                  const std::string& device = "the microphone");
    /// Starts a recorder and says how long it took until that was told; empty if it took longer
    /// than `bound`.
    std::optional<Bound> recordUntilTold(const std::string& name, Bound bound);

private:
    bool isSlow_;
    support::PrivateSession session_;
};

/// All that are built. Whatever one throws beside NotTried is a fault of the attack or of its
/// servers, and no verdict.
struct KnownAttack {
    std::string_view name;
    Verdict (*attack)(Scene& scene);
};
extern const std::span<const KnownAttack> allAttacks;

/// Resident memory of a process in KiB; 0 if it has ended.
[[nodiscard]] long residentKiB(pid_t process);
[[nodiscard]] std::string text(Bound time);

} // namespace velmoran::attacks
