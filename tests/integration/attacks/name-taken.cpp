// A program takes Velmoran's name on the session bus and answers that everything is stopped, first
// without a Velmoran and then before one that waits for its name.
#include "integration/attacks/Attack.h"
#include "integration/attacks/FakeVelmoran.h"
#include "integration/attacks/SingleInstancePlace.h"

#include <unistd.h>

namespace velmoran::attacks {

Verdict nameTaken(Scene& scene) {
    scene.startSound();
    const FakeVelmoran fake;
    const auto alone = scene.ctl({"stop"});
    if (alone.status != 1 || !alone.output.empty()) {
        return fell("without a Velmoran \"stop\" said: " + alone.output);
    }
    if (alone.errors.find("(process " + std::to_string(::getpid()) + ")") == std::string::npos) {
        return fell("nobody was told who answers: " + alone.errors);
    }
    scene.session().start(
        "watch", {velmoranctl(), "watch", "--device-folder", scene.session().file("dev").string()});
    if (!waitUntil([&] { return scene.ctl({"status"}).succeeded(); })) {
        return fell("\"status\" never reached the watch that runs");
    }
    auto& spy = scene.record("spy");
    if (!scene.tellsStart("spy")) {
        return fell("the watch didn't see a recorder");
    }
    if (!seesUse(scene, "spy")) {
        return fell("\"status\" believed the stranger");
    }
    const auto stopped = scene.ctl({"stop"});
    if (stopped.status != 0 || spy.running()) {
        return fell("\"stop\" left the recorder running and said: " + stopped.output);
    }
    if (fake.calls() > 0) {
        return fell("the stranger was asked");
    }
    return held("the stranger was named and passed over, and the recorder stopped");
}

} // namespace velmoran::attacks
