// A recorder of what others play is moved to the microphone for moments, again and again.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

namespace {

/// The number of the only recording stream; empty while there is none.
std::string stream(Scene& scene) {
    const auto list = scene.session().run({"pactl", "list", "short", "source-outputs"}).output;
    return list.substr(0, list.find('\t'));
}

} // namespace

Verdict movedToAndFro(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const Listener listener(scene, "listener", "virtual-speaker.monitor");
    if (!waitUntil([&] { return !stream(scene).empty(); })) {
        throw std::runtime_error("the stream doesn't come");
    }
    const auto number = stream(scene);
    if (scene.tellsStart("listener", 0ms)) {
        return fell("who records what others play was told as using the microphone");
    }
    std::optional<std::chrono::steady_clock::time_point> heard;
    bool isAway = false;
    int moves = 0;
    const auto isOver = [&] {
        isAway = !isAway;
        const auto moved =
            scene.session().run({"pactl", "move-source-output", number,
                                 isAway ? "virtual-microphone" : "virtual-speaker.monitor"});
        if (!moved.succeeded()) {
            throw std::runtime_error("the stream can't be moved: " + moved.errors);
        }
        ++moves;
        // The session manager needs a moment for each.
        if (!heard && waitUntil([&] { return listener.hears(); }, isAway ? 40ms : 0ms)) {
            heard = std::chrono::steady_clock::now();
        }
        return scene.tellsStart("listener", 0ms) ||
               (heard && std::chrono::steady_clock::now() > *heard + within(1s));
    };
    if (!waitUntil(isOver)) {
        throw std::runtime_error("the listener hears nothing");
    }
    if (!scene.tellsStart("listener", 0ms)) {
        return fell("not told within a second of the first sound, " + std::to_string(moves) +
                    " moves");
    }
    return held("told after " + std::to_string(moves) + " moves");
}

} // namespace velmoran::attacks
