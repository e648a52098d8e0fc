// The sound server is told to play the microphone into a sink that passes on to another one, whose
// monitor is recorded.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict combinedSink(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-null-sink", "sink_name=drain"});
    loadModule(scene, {"module-combine-sink", "sink_name=both", "slaves=drain"});
    loadModule(scene, {"module-loopback", "source=virtual-microphone", "sink=both",
                       "latency_msec=20", "source_output_properties=node.link-group=in",
                       "sink_input_properties=node.link-group=out"});
    return verdictOnListenerAt(scene, "drain.monitor");
}

} // namespace velmoran::attacks
