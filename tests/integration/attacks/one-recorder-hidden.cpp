// Any client may take from any other's sight what it chooses: of the recorder that begins, and of
// nothing else, each object is hidden from Velmoran as soon as it is there.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SoundClient.h"

#include <algorithm>
#include <set>

namespace velmoran::attacks {

namespace {

class Hider {
public:
    explicit Hider(pid_t victim) : victim_(std::to_string(victim)) {
        for (const auto& [id, global] : client_.globals()) {
            known_.insert(id);
        }
    }

    /// Hides what is new until `condition` is true or `bound` has passed.
    bool hideUntil(const std::function<bool()>& condition, Bound bound) {
        const auto end = std::chrono::steady_clock::now() + bound;
        while (!condition()) {
            if (std::chrono::steady_clock::now() >= end) {
                return false;
            }
            client_.hearUntil([this] { return hideNew(); }, 5ms);
        }
        return true;
    }
    [[nodiscard]] int count() const { return count_; }

private:
    bool hideNew() {
        bool any = false;
        for (const auto& [id, global] : client_.globals()) {
            if (known_.insert(id).second && global.property("pipewire.sec.pid") != victim_) {
                for (const auto victim : victims()) {
                    client_.permit(victim, id, 0);
                }
                any = true;
                ++count_;
            }
        }
        return any;
    }
    std::vector<std::uint32_t> victims() const {
        std::vector<std::uint32_t> result;
        for (const auto& [id, global] : client_.globals()) {
            if (global.type == PW_TYPE_INTERFACE_Client &&
                global.property("pipewire.sec.pid") == victim_) {
                result.push_back(id);
            }
        }
        return result;
    }

    std::string victim_;
    SoundClient client_;
    std::set<std::uint32_t> known_;
    int count_ = 0;
};

} // namespace

Verdict oneRecorderHidden(Scene& scene) {
    const int recorders = scene.isSlow() ? 50 : 5;
    scene.startSound();
    const auto& watch = scene.startWatch();
    Hider hider(watch.pid());
    Bound latest{0};
    for (int number = 0; number < recorders; ++number) {
        const auto name = "spy-" + std::to_string(number) + "-";
        const auto begun = std::chrono::steady_clock::now();
        scene.record(name);
        const auto isTold = [&] {
            return scene.tellsStart(name, 0ms) || scene.hasTold({"Unknown app", "microphone"});
        };
        if (!hider.hideUntil(isTold, within(1s))) {
            return fell("recorder " + std::to_string(number + 1) +
                        " wasn't told within a second, " + std::to_string(hider.count()) +
                        " objects hidden");
        }
        latest = std::max(
            latest, std::chrono::duration_cast<Bound>(std::chrono::steady_clock::now() - begun));
        scene.session().stop(name);
    }
    if (hider.count() == 0) {
        throw std::runtime_error("nothing was hidden");
    }
    return held(std::to_string(recorders) + " recorders told, the latest after " + text(latest) +
                ", " + std::to_string(hider.count()) + " objects hidden");
}

} // namespace velmoran::attacks
