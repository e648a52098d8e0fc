// A filter of the attacker's own takes the microphone and offers it as another one, without saying
// that its two ends belong together.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict filterChain(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    runModule(scene, "filter-chain", R"(
        filter.graph = { nodes = [ { type = builtin name = copy label = copy } ] }
        capture.props = {
            node.name = chain-in target.object = virtual-microphone
            node.link-group = one audio.position = [ MONO ]
        }
        playback.props = {
            node.name = chain media.class = Audio/Source
            node.link-group = two audio.position = [ MONO ]
        })");
    awaitSource(scene, "chain");
    return verdictOnListenerAt(scene, "chain");
}

} // namespace velmoran::attacks
