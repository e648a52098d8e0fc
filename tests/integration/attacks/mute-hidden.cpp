// Velmoran mutes over the PulseAudio interface, where PipeWire's server of it holds a client for
// it. The microphones are hidden from that client, all of them or one, so that there is nothing to
// mute.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SoundClient.h"

namespace velmoran::attacks {

namespace {

/// Hides from all that Velmoran has at the server what is chosen. Says how much that was.
int hide(bool onlyTheMicrophone) {
    SoundClient client;
    int count = 0;
    for (const auto& [id, global] : client.globals()) {
        if (global.type != PW_TYPE_INTERFACE_Client ||
            global.property("application.name") != "Velmoran") {
            continue;
        }
        for (const auto& [object, each] : client.globals()) {
            if (each.property("node.name") == "virtual-microphone" && onlyTheMicrophone) {
                client.permit(id, object, 0);
                ++count;
            }
        }
        if (!onlyTheMicrophone) {
            client.permit(id, PW_ID_ANY, 0);
            ++count;
        }
    }
    client.roundTrip();
    return count;
}

} // namespace

Verdict muteHidden(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    for (const bool onlyTheMicrophone : {false, true}) {
        if (hide(onlyTheMicrophone) == 0) {
            throw std::runtime_error("nothing was hidden");
        }
        // The stop may come while the connection is made anew, and is made up for then.
        const auto stopped = scene.ctl({"stop"});
        if (!waitUntil(
                [&] {
                    return scene.session()
                               .run({"pactl", "get-source-mute", "virtual-microphone"})
                               .output == "Mute: yes\n";
                },
                within(1s))) {
            return fell("a stop mutes nothing: " + stopped.output);
        }
        if (scene.ctl({"unmute"}).status != 0) {
            return fell("the microphone can't be unmuted again");
        }
    }
    return held("the microphone was muted and unmuted all the same");
}

} // namespace velmoran::attacks
