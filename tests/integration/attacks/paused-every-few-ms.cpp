// A recorder by PipeWire's own protocol that pauses and goes on every few milliseconds.
#include "integration/attacks/Attack.h"

#include <csignal>

namespace velmoran::attacks {

Verdict pausedEveryFewMs(Scene& scene) {
    const int recorders = scene.isSlow() ? 40 : 5;
    scene.startSound();
    scene.startWatch();
    Bound latest{0};
    int deaf = 0;
    for (int number = 0; number < recorders; ++number) {
        const auto name = "spy-" + std::to_string(number) + "-";
        auto& recorder = scene.record(name);
        bool isPaused = false;
        const auto isAfterSpell = [&](const std::string& word) {
            recorder.signal(isPaused ? SIGUSR2 : SIGUSR1);
            isPaused = !isPaused;
            // Who goes on for less gets no sound at all.
            const auto spell = isPaused ? 2ms : 40ms;
            return waitUntil(
                [&] {
                    return word.empty() ? scene.hasTold({name, "turned on the microphone"})
                                        : recorder.output().find(word) != std::string::npos;
                },
                spell);
        };
        if (!waitUntil([&] { return isAfterSpell("heard"); }, 3s)) {
            ++deaf;
        } else {
            const auto heard = std::chrono::steady_clock::now();
            if (!waitUntil([&] { return isAfterSpell(""); }, within(100ms))) {
                return fell("recorder " + std::to_string(number + 1) +
                            " wasn't told within 100 ms of its 20 ms of sound");
            }
            latest = std::max(latest, std::chrono::duration_cast<Bound>(
                                          std::chrono::steady_clock::now() - heard));
        }
        scene.session().stop(name);
    }
    return held(std::to_string(recorders - deaf) + " recorders told, the latest " + text(latest) +
                " after 20 ms of sound; " + std::to_string(deaf) + " heard nothing");
}

} // namespace velmoran::attacks
