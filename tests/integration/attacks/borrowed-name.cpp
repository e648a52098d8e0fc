// A recorder lets another program hold an idle connection to PulseAudio's server, and says over a
// second one that it is that program.
#include "integration/attacks/HandedOn.h"

#include <memory>

namespace velmoran::attacks {

Verdict borrowedName(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    auto idle = std::make_unique<OpenConnection>(pulseSocket(scene));
    const auto& heir = startHeir(scene, "heir");
    idle.reset();
    startPretender(scene, "spy", heir.pid());
    if (!scene.tellsStart("", within(5s))) {
        return fell("nothing was told of a recorder that says it is another program");
    }
    if (scene.hasTold({"heir", "the microphone"})) {
        return fell("the recorder was told under the name of the program that it said it is");
    }
    return held(scene.hasTold({"Unknown app", "turned on the microphone"})
                    ? "the recorder was told as an unknown app"
                    : "the recorder was told under its own name");
}

} // namespace velmoran::attacks
