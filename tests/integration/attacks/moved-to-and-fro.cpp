// A recorder of what others play links itself to the microphone for moments, again and again.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

namespace {

constexpr const char* harmless = "virtual-speaker:monitor_FL";
constexpr const char* microphone = "virtual-microphone:capture_MONO";
constexpr const char* spy = "spy:in";

void link(Scene& scene, const char* from, bool isLinked) {
    std::vector<std::string> command = {"pw-link", from, spy};
    if (!isLinked) {
        command.insert(command.begin() + 1, "--disconnect");
    }
    const auto done = scene.session().run(command);
    if (!done.succeeded()) {
        throw std::runtime_error("the recorder can't be linked: " + done.errors);
    }
}

} // namespace

Verdict movedToAndFro(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    scene.record("spy", {"--filter", "spy"});
    if (!waitUntil([&] {
            return scene.session().run({"pw-link", "--input"}).output.find(spy) !=
                   std::string::npos;
        })) {
        throw std::runtime_error("the recorder doesn't come");
    }
    Bound linked{0};
    int moves = 0;
    link(scene, harmless, true);
    const auto isTold = [&] {
        return scene.hasTold({"spy", "turned on the microphone"});
    };
    if (waitUntil(isTold, 100ms)) {
        return fell("who records what others play was told as using the microphone");
    }
    // From 2 to 64 ms.
    while (!isTold() && linked < within(300ms)) {
        const Bound stay(2 << (moves++ % 6));
        link(scene, harmless, false);
        link(scene, microphone, true);
        const bool isSeen = waitUntil(isTold, stay);
        linked += stay;
        link(scene, microphone, false);
        link(scene, harmless, true);
        if (isSeen) {
            break;
        }
    }
    if (!waitUntil(isTold, within(100ms))) {
        return fell("not told in " + std::to_string(moves) + " moves, " + text(linked) +
                    " at the microphone together");
    }
    return held("told after " + std::to_string(moves) + " moves, " + text(linked) +
                " at the microphone together");
}

} // namespace velmoran::attacks
