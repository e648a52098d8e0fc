// A process of the attacker's own combines all microphones into one that it offers.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict combinedSources(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    runModule(scene, "combine-stream", R"(
        combine.mode = source
        node.name = combined
        combine.props = { audio.position = [ MONO ] }
        stream.rules = [ {
            matches = [ { media.class = "Audio/Source" node.name = "virtual-microphone" } ]
            actions = { create-stream = { audio.position = [ MONO ] } }
        } ])");
    awaitSource(scene, "combined");
    return verdictOnListenerAt(scene, "combined");
}

} // namespace velmoran::attacks
