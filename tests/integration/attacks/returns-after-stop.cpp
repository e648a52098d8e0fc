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
    const auto stopped = scene.ctl({"stop"}, within(30s));
    if (!stopped.status) {
        return fell("the stop didn't come to its end");
    }
    const auto status = scene.ctl({"status"}).output;
    const bool isOn = status.find("is using the microphone") != std::string::npos ||
                      status.find("The microphone is in use") != std::string::npos;
    if (stopped.status == 0 && isOn) {
        return fell("said to be stopped while the microphone is in use: " + stopped.output);
    }
    if (stopped.status == 0) {
        return fell("said to be stopped, though it is always started again: " + stopped.output);
    }
    return held("said: " + stopped.output);
}

} // namespace velmoran::attacks
