// The sound server is told to listen on the network, and to fetch its own microphone from there.
#include "integration/attacks/FreePort.h"
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict tunnelToItself(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto port = freePort();
    loadModule(scene, {"module-native-protocol-tcp", "listen=127.0.0.1", "port=" + port,
                       "auth-anonymous=1"});
    loadModule(scene, {"module-tunnel-source", "server=tcp:127.0.0.1:" + port,
                       "source=virtual-microphone", "source_name=tunnel"});
    awaitSource(scene, "tunnel");
    return verdictOnListenerAt(scene, "tunnel");
}

} // namespace velmoran::attacks
