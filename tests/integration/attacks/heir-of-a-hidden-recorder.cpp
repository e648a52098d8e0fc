// A recorder that forbids being looked at uses a connection that another program was started with:
// to Velmoran that one alone holds it.
#include "integration/attacks/HandedOn.h"
#include "support/Rights.h"

#include <memory>

namespace velmoran::attacks {

Verdict heirOfAHiddenRecorder(Scene& scene) {
    scene.startSound();
    // As an ordinary person's program, from whom others can hide.
    auto& watch = scene.session().start(
        "watch", support::withoutRights({velmoranctl(), "watch", "--device-folder",
                                         scene.session().file("dev").string()}));
    if (!waitUntil([&] { return !watch.running() || scene.ctl({"status"}).succeeded(); }) ||
        !watch.running()) {
        throw std::runtime_error("the watch didn't come up");
    }
    auto given = std::make_unique<OpenConnection>(pipeWireSocket(scene));
    startHeir(scene, "heir");
    scene.session().start("spy", support::withoutRights({scene.program("spy"), "--hide", "--fd",
                                                         std::to_string(given->number())}));
    given.reset();
    if (!scene.tellsStart("", within(5s))) {
        return fell("nothing was told of a hidden recorder");
    }
    if (scene.hasTold({"heir", "the microphone"})) {
        return fell("a hidden recorder was told under the name of its heir");
    }
    return held("a hidden recorder was told, and not under its heir's name");
}

} // namespace velmoran::attacks
