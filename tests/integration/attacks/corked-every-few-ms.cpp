// A recorder by PulseAudio's protocol that hears for a few milliseconds at a time: it pauses its
// stream after each, or makes a new one.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

namespace {

/// How long after it had received 20 ms of sound in all it was told.
std::optional<Bound> lateness(Scene& scene, const std::string& name, const std::string& how,
                              const std::string& milliseconds) {
    auto& spy = scene.session().start(
        name, {scene.program(name, "spell-client"), how, milliseconds, milliseconds});
    if (!waitUntil([&] { return spy.output().find("20 ms") != std::string::npos; })) {
        throw std::runtime_error("the recorder hears nothing");
    }
    const auto begun = std::chrono::steady_clock::now();
    const bool wasTold = scene.tellsStart(name, within(5s));
    const auto took = std::chrono::duration_cast<Bound>(std::chrono::steady_clock::now() - begun);
    scene.session().stop(name);
    return wasTold ? std::optional(took) : std::nullopt;
}

} // namespace

Verdict corkedEveryFewMs(Scene& scene) {
    const int turns = scene.isSlow() ? 20 : 3;
    scene.startSound();
    scene.startWatch();
    int number = 0;
    Bound latest{0};
    for (int turn = 0; turn < turns; ++turn) {
        for (const std::string how : {"cork", "stream"}) {
            for (const std::string milliseconds : {"4", "5"}) {
                const auto name = "spy-" + std::to_string(++number) + "-";
                const auto late = lateness(scene, name, how, milliseconds);
                const auto who = "recorder " + std::to_string(number) + " (" + how + " for " +
                                 milliseconds + " ms)";
                if (!late) {
                    return fell(who + " wasn't told within 5 s of 20 ms of sound");
                }
                if (*late > within(100ms)) {
                    return fell(who + " was told " + text(*late) + " after 20 ms of sound");
                }
                latest = std::max(latest, *late);
            }
        }
    }
    return held(std::to_string(number) + " recorders told, the latest " + text(latest) +
                " after 20 ms of sound");
}

} // namespace velmoran::attacks
