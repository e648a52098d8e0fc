// The sound server isn't there, or is ended while Velmoran watches.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

namespace {

bool isCalledOff(const std::string& status) {
    return status.find("microphone are off") != std::string::npos ||
           status.find("microphone is off") != std::string::npos;
}

} // namespace

Verdict noSoundServer(Scene& scene) {
    auto& session = scene.session();
    session.startBus();
    session.enter();
    scene.startWatch();
    const auto without = scene.ctl({"status"}).output;
    if (isCalledOff(without) || without.find("isn't being watched") == std::string::npos) {
        return fell("without a sound server status says: " + without);
    }
    session.startPipeWire();
    session.startWirePlumber();
    if (!waitUntil([&] { return isCalledOff(scene.ctl({"status"}).output); })) {
        return fell("with a sound server status says: " + scene.ctl({"status"}).output);
    }
    session.stop("pipewire");
    if (!waitUntil([&] { return !isCalledOff(scene.ctl({"status"}).output); }, within(2s))) {
        return fell("after the server's end status says: " + scene.ctl({"status"}).output);
    }
    return held("the microphone is said not to be watched: " + without);
}

} // namespace velmoran::attacks
