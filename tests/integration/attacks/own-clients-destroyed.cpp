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
    /// Goes on cutting every 20 ms until `condition` is true or `bound` has passed.
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
    /// The server of PipeWire 1.4 now and then cuts the one who cuts, who then comes back.
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

} // namespace

Verdict ownClientsDestroyed(Scene& scene) {
    const int recorders = scene.isSlow() ? 200 : 8;
    scene.startSound();
    const auto& watch = scene.startWatch();
    Cutter cutter(watch.pid());
    Bound latest{0};
    for (int number = 0; number < recorders; ++number) {
        const auto name = "spy-" + std::to_string(number) + "-";
        const auto begun = std::chrono::steady_clock::now();
        scene.record(name);
        if (!cutter.cutUntil([&] { return scene.tellsStart(name, 0ms); }, within(1s))) {
            return fell("recorder " + std::to_string(number + 1) +
                        " wasn't told within a second, " + std::to_string(cutter.count()) +
                        " connections cut");
        }
        latest = std::max(
            latest, std::chrono::duration_cast<Bound>(std::chrono::steady_clock::now() - begun));
        scene.session().stop(name);
        if (!cutter.cutUntil([&] { return scene.tellsEnd(name, 0ms); }, within(5s))) {
            return fell("the end of recorder " + std::to_string(number + 1) + " wasn't told");
        }
    }
    if (cutter.count() < recorders) {
        throw std::runtime_error("only " + std::to_string(cutter.count()) + " connections cut");
    }
    return held(std::to_string(recorders) + " recorders told, the latest after " + text(latest) +
                ", while " + std::to_string(cutter.count()) + " connections were cut");
}

} // namespace velmoran::attacks
