// While a mute stands, another microphone comes: a recorder waits for it.
#include "integration/attacks/SecondHand.h"

#include <algorithm>

namespace velmoran::attacks {

namespace {

/// Bytes of sound, as 16 bits and two channels at 44.1 kHz, in milliseconds.
Bound soundIn(const std::string& bytes) {
    const auto sound = std::ranges::count_if(bytes, [](char byte) { return byte != '\0'; });
    return Bound(sound * 10 / 1764);
}

} // namespace

Verdict microphoneUnderMute(Scene& scene) {
    const int microphones = scene.isSlow() ? 20 : 3;
    scene.startSound();
    scene.startWatch();
    if (scene.ctl({"stop"}).status != 0) {
        throw std::runtime_error("nothing was muted");
    }
    Bound most{0};
    for (int number = 0; number < microphones; ++number) {
        const auto name = "microphone-" + std::to_string(number);
        scene.session().addMicrophone(name, name);
        const auto listenerName = "listener-" + std::to_string(number);
        const Listener listener(scene, listenerName, name);
        const auto heard = scene.session().file(listenerName + ".raw");
        // Half a second of whatever it is.
        if (!waitUntil([&] {
                std::error_code none;
                return std::filesystem::file_size(heard, none) > 88'200 && !none;
            })) {
            throw std::runtime_error("the listener gets nothing");
        }
        most = std::max(most, soundIn(support::readFile(heard)));
        scene.session().stop(listenerName);
        scene.session().stop(name);
    }
    const auto seen = "at most " + text(most) + " of sound from " + std::to_string(microphones) +
                      " microphones that came under a mute";
    return most > within(100ms) ? fell(seen) : held(seen);
}

} // namespace velmoran::attacks
