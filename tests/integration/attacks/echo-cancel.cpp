// The sound server itself is told to take the microphone and to offer it without echoes.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict echoCancel(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-echo-cancel", "aec_method=null", "source_name=clean",
                       "source_master=virtual-microphone", "sink_master=virtual-speaker"});
    awaitSource(scene, "clean");
    return verdictOnListenerAt(scene, "clean");
}

} // namespace velmoran::attacks
