// The sound server is told to give the microphone to whoever connects to a port.
#include "integration/attacks/FreePort.h"
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict simpleProtocol(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto port = freePort();
    loadModule(scene, {"module-simple-protocol-tcp", "record=true", "playback=false",
                       "source=virtual-microphone", "listen=127.0.0.1", "port=" + port});
    const auto begun = std::chrono::steady_clock::now();
    scene.session().start("reader", {scene.program("reader", "tcp-reader"), port});
    if (!scene.tellsStart("reader", within(1s))) {
        return fell("whoever reads from the port wasn't told within a second");
    }
    const auto took = std::chrono::steady_clock::now() - begun;
    scene.session().stop("reader");
    if (!scene.tellsEnd("reader", within(2s))) {
        return fell("the end wasn't told");
    }
    return held("whoever reads from the port was told after " +
                text(std::chrono::duration_cast<Bound>(took)));
}

} // namespace velmoran::attacks
