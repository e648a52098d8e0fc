// A recorder that is started again as soon as it was closed: a stop must not say that it is gone.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

Verdict returnsAfterStop(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto spy = scene.program("spy");
    scene.session().start("keeper", {"sh", "-c", "while :; do \"$1\"; done", "sh", spy});
    if (!scene.tellsStart("spy", within(1s))) {
        return fell("the recorder wasn't told");
    }
    const auto isOn = [&] {
        const auto status = scene.ctl({"status"}).output;
        return status.find("is using the microphone") != std::string::npos ||
               status.find("The microphone is in use") != std::string::npos;
    };
    // On a busy machine it may be back only after the stop has looked: then that is another use,
    // which the next stop ends.
    const int stops = scene.isSlow() ? 1 : 5;
    support::Finished stopped;
    for (int number = 0; number < stops; ++number) {
        stopped = scene.ctl({"stop"}, within(30s));
        if (!stopped.status) {
            return fell("the stop didn't come to its end");
        }
        if (stopped.status != 0) {
            return held("said: " + stopped.output);
        }
        if (!waitUntil(isOn, within(5s))) {
            return fell("that it is back wasn't said");
        }
    }
    return fell("said to be stopped, though it is always started again: " + stopped.output);
}

} // namespace velmoran::attacks
