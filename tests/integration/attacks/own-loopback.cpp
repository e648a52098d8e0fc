// A program that does nothing but pass sound on plays the microphone into a sink that nobody hears,
// without saying that its two ends belong together. The monitor of that is recorded.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

namespace {

std::string end(const std::string& node, const std::string& group) {
    return "{ target.object = " + node + " node.target = " + node + " node.link-group = " + group +
           " }";
}

} // namespace

Verdict ownLoopback(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-null-sink", "sink_name=drain"});
    scene.session().start("loopback",
                          {"pw-loopback", "--capture-props", end("virtual-microphone", "in"),
                           "--playback-props", end("drain", "out")});
    return verdictOnListenerAt(scene, "drain.monitor");
}

} // namespace velmoran::attacks
