// The sound server is told to listen on the network. A recorder comes from there, where the kernel
// can't say whose socket it is, and claims to be another process.
#include "integration/attacks/FreePort.h"
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict recorderOverTcp(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto port = freePort();
    loadModule(scene, {"module-native-protocol-tcp", "listen=127.0.0.1", "port=" + port,
                       "auth-anonymous=1"});
    std::filesystem::copy_file("/bin/sleep", scene.session().home() / "innocent");
    const auto& innocent =
        scene.session().start("innocent", {scene.session().home() / "innocent", "600"});
    scene.session().environment()["PULSE_PROP"] =
        "application.process.id=" + std::to_string(innocent.pid()) +
        " application.process.binary=innocent application.name=innocent";
    const Listener listener(scene, "listener", "virtual-microphone",
                            {"--server=tcp:127.0.0.1:" + port});
    if (!waitUntil([&] { return listener.hears(); })) {
        throw std::runtime_error("the listener hears nothing");
    }
    const auto isTold = [&] {
        return scene.tellsStart("listener", 0ms) || scene.tellsStart("Unknown app", 0ms);
    };
    const bool inTime =
        waitUntil([&] { return isTold() || scene.tellsStart("innocent", 0ms); }, within(1s));
    if (scene.tellsStart("innocent", 0ms)) {
        return fell("the recorder was told under the name that it claimed");
    }
    return inTime ? held(scene.tellsStart("listener", 0ms) ? "the recorder was told by its name"
                                                           : "the recorder was told as unknown")
                  : fell("the recorder wasn't told within a second of its first sound");
}

} // namespace velmoran::attacks
