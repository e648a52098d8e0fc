// A program that does nothing but pass sound on plays the microphone into a sink that nobody hears,
// without saying that its two ends belong together. The monitor of that is recorded.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict ownLoopback(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-null-sink", "sink_name=drain"});
    scene.session().start("loopback", {"pw-loopback", "--capture-props",
                                       loopbackEnd("virtual-microphone", "in"), "--playback-props",
                                       loopbackEnd("drain", "out")});
    return verdictOnListenerAt(scene, "drain.monitor");
}

} // namespace velmoran::attacks
