// The sound server is told to play the microphone to itself, by its own socket, into a sink whose
// monitor is recorded: on the way the sound leaves the graph.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict sinkBeyondASocket(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-null-sink", "sink_name=drain"});
    const auto socket = scene.session().runtimeFolder() / "pulse/native";
    loadModule(scene, {"module-tunnel-sink", "sink_name=away", "sink=drain",
                       "server=unix:" + socket.string()});
    loadModule(scene, {"module-loopback", "source=virtual-microphone", "sink=away",
                       "latency_msec=20", "source_output_properties=node.link-group=in",
                       "sink_input_properties=node.link-group=out"});
    return verdictOnListenerAt(scene, "drain.monitor");
}

} // namespace velmoran::attacks
