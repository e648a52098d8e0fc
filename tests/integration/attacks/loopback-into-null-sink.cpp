// The sound server is told to play the microphone into a sink that nobody hears, with link groups
// that tell nothing of that, and from there into a second one. The monitor of that is recorded.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict loopbackIntoNullSink(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    std::string source = "virtual-microphone";
    for (const std::string sink : {"first", "second"}) {
        loadModule(scene, {"module-null-sink", "sink_name=" + sink});
        loadModule(scene, {"module-loopback", "source=" + source, "sink=" + sink, "latency_msec=20",
                           "source_output_properties=node.link-group=in-" + sink,
                           "sink_input_properties=node.link-group=out-" + sink});
        source = sink + ".monitor";
    }
    return verdictOnListenerAt(scene, source);
}

} // namespace velmoran::attacks
