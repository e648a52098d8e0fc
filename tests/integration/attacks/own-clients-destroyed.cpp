// Any client may destroy any other's connection to the sound server. Velmoran's are destroyed every
// 20 ms while recorders begin.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SoundClient.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>

namespace velmoran::attacks {

namespace {

class Cutter {
public:
    explicit Cutter(pid_t victim) : victim_(std::to_string(victim)) {}

    /// Cuts whatever connection the victim has now, by PipeWire's protocol and by PulseAudio's.
    void cut() {
        std::vector<std::uint32_t> theirs;
        for (const auto& [id, global] : client_->globals()) {
            if (global.type == PW_TYPE_INTERFACE_Client &&
                (global.property("pipewire.sec.pid") == victim_ ||
                 global.property("application.name") == "Velmoran")) {
                theirs.push_back(id);
            }
        }
        for (const auto id : theirs) {
            client_->destroy(id);
        }
        hear([this] {
            client_->roundTrip();
            return true;
        });
        count_ += static_cast<int>(theirs.size());
    }
    /// Goes on cutting every 20 ms until `condition` is true or `bound` has passed. Throws
    /// std::runtime_error when the server has gone.
    bool cutUntil(const std::function<bool()>& condition, Bound bound) {
        const auto end = std::chrono::steady_clock::now() + bound;
        while (!condition()) {
            if (std::chrono::steady_clock::now() >= end) {
                return false;
            }
            cut();
            hear([&] { return client_->hearUntil(condition, 20ms); });
        }
        return true;
    }
    [[nodiscard]] int count() const { return count_; }

private:
    /// A server that crashes cuts the one who cuts, too.
    void hear(const std::function<bool()>& hearing) {
        try {
            hearing();
        } catch (const SoundClient::Lost&) {
            client_.emplace();
        }
    }

    std::string victim_;
    std::optional<SoundClient> client_{std::in_place};
    int count_ = 0;
};

/// As the system does for a server that has crashed.
void startAgain(support::PrivateSession& session) {
    for (const auto* name : {"virtual-microphone", "pulse", "wireplumber", "pipewire"}) {
        session.stop(name);
    }
    session.startPipeWire();
    session.startWirePlumber();
    session.startPulse();
    session.addMicrophone();
}

} // namespace

Verdict ownClientsDestroyed(Scene& scene) {
    const int recorders = scene.isSlow() ? 200 : 8;
    // How soon is a question for a machine that does nothing else.
    const Bound bound = within(scene.isSlow() ? 1s : 5s);
    scene.startSound();
    const auto& watch = scene.startWatch();
    std::optional<Cutter> cutter(watch.pid());
    int cuts = 0;
    int crashes = 0;
    Bound latest{0};
    for (int number = 0; number < recorders;) {
        // Another name after a crash.
        const auto name = "spy-" + std::to_string(number) + '-' + std::to_string(crashes) + '-';
        const auto begun = std::chrono::steady_clock::now();
        scene.record(name);
        try {
            if (!cutter->cutUntil([&] { return scene.tellsStart(name, 0ms); }, bound)) {
                return fell("recorder " + std::to_string(number + 1) + " wasn't told within " +
                            text(bound) + ", " + std::to_string(cuts + cutter->count()) +
                            " connections cut");
            }
            latest = std::max(latest, std::chrono::duration_cast<Bound>(
                                          std::chrono::steady_clock::now() - begun));
            scene.session().stop(name);
            if (!cutter->cutUntil([&] { return scene.tellsEnd(name, 0ms); }, within(5s))) {
                return fell("the end of recorder " + std::to_string(number + 1) + " wasn't told");
            }
            ++number;
        } catch (const std::runtime_error&) {
            // The server of PipeWire 1.4 doesn't always survive what this does to its clients. Then
            // nobody records; when it has been started again this recorder has another try.
            auto* server = scene.session().child("pipewire");
            if (server == nullptr || !waitUntil([&] { return !server->running(); }, 1s) ||
                ++crashes > recorders) {
                throw;
            }
            cuts += cutter->count();
            cutter.reset();
            scene.session().stop(name);
            startAgain(scene.session());
            cutter.emplace(watch.pid());
        }
    }
    cuts += cutter->count();
    if (cuts < recorders) {
        throw std::runtime_error("only " + std::to_string(cuts) + " connections cut");
    }
    return held(
        std::to_string(recorders) + " recorders told, the latest after " + text(latest) +
        ", while " + std::to_string(cuts) + " connections were cut" +
        (crashes > 0 ? " and the server crashed " + std::to_string(crashes) + " times" : ""));
}

} // namespace velmoran::attacks
