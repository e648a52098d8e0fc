// A sound server of the attacker's own links itself into the one of the session, and plays the
// microphone there into a sink whose monitor is recorded.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict privateServer(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-null-sink", "sink_name=drain"});
    runModule(scene, "loopback",
              "capture.props = " + loopbackEnd("virtual-microphone", "in") +
                  "\nplayback.props = " + loopbackEnd("drain", "out"));
    return verdictOnListenerAt(scene, "drain.monitor");
}

} // namespace velmoran::attacks
