// A sound server of the attacker's own links itself into the one of the session, and plays the
// microphone there into a sink whose monitor is recorded.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

namespace {

std::string end(const std::string& node, const std::string& group) {
    return "{ target.object = " + node + " node.target = " + node + " node.link-group = " + group +
           " }";
}

} // namespace

Verdict privateServer(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-null-sink", "sink_name=drain"});
    runModule(scene, "loopback",
              "capture.props = " + end("virtual-microphone", "in") +
                  "\nplayback.props = " + end("drain", "out"));
    return verdictOnListenerAt(scene, "drain.monitor");
}

} // namespace velmoran::attacks
