// A recorder has borrowed a name, and the person stops everything: who lent it, and another process
// of that program, go on; that the recorder goes on too is said, and the second try says it again.
#include "integration/attacks/HandedOn.h"

#include <memory>

namespace velmoran::attacks {

Verdict stopOfABorrowedName(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    auto& bystander = startHeir(scene, "bystander");
    auto idle = std::make_unique<OpenConnection>(pulseSocket(scene));
    auto& heir = startHeir(scene, "heir");
    idle.reset();
    auto& spy = startPretender(scene, "spy", heir.pid());
    if (!scene.tellsStart("", within(5s))) {
        return fell("nothing was told of a recorder that says it is another program");
    }
    for (const char* which : {"a stop", "a second stop"}) {
        const auto answer = scene.ctl({"stop"}, within(15s)).output;
        if (!heir.running() || !bystander.running()) {
            return fell(std::string(which) + " ended a program that records nothing");
        }
        if (spy.running() && answer.find("The microphone is still in use.") == std::string::npos) {
            return fell(std::string(which) + " said of a recorder that went on: " + answer);
        }
    }
    return held(spy.running() ? "the innocent went on, and so the recorder, which was said"
                              : "the recorder alone was ended");
}

} // namespace velmoran::attacks
