// A recorder by PipeWire's own protocol that pauses and goes on every few milliseconds.
#include "integration/attacks/Attack.h"

#include <csignal>

namespace velmoran::attacks {

Verdict attack(Scene& scene) {
    const int recorders = scene.isSlow() ? 40 : 5;
    scene.startSound();
    scene.startWatch();
    Bound latest{0};
    for (int number = 0; number < recorders; ++number) {
        const auto name = "spy-" + std::to_string(number) + "-";
        const auto begun = std::chrono::steady_clock::now();
        auto& recorder = scene.record(name);
        bool isPaused = false;
        // Each look at the watch is one spell.
        if (!waitUntil(
                [&] {
                    recorder.signal(isPaused ? SIGUSR2 : SIGUSR1);
                    isPaused = !isPaused;
                    return scene.tellsStart(name, 0ms);
                },
                within(1s))) {
            return fell("recorder " + std::to_string(number + 1) + " wasn't told within a second");
        }
        latest = std::max(
            latest, std::chrono::duration_cast<Bound>(std::chrono::steady_clock::now() - begun));
        scene.session().stop(name);
    }
    return held(std::to_string(recorders) + " recorders told, the latest after " + text(latest));
}

} // namespace velmoran::attacks
