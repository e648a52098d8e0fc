// A node that outlives its maker may say whose it is as it likes. One that hears the microphone
// says that it is a mere player's.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SoundClient.h"
#include "support/SessionFiles.h"

namespace velmoran::attacks {

namespace {

std::uint32_t clientOf(const SoundClient& client, pid_t pid) {
    for (const auto& [id, global] : client.globals()) {
        if (global.type == PW_TYPE_INTERFACE_Client &&
            global.property("pipewire.sec.pid") == std::to_string(pid)) {
            return id;
        }
    }
    return 0;
}

} // namespace

Verdict blameByClientId(Scene& scene) {
    scene.startSound();
    auto& session = scene.session();
    const auto tone = session.file("tone.wav");
    support::writeFile(tone, support::files::tone(std::chrono::minutes(2)));
    const auto& player = session.start("player", {"pw-cat", "-p", tone});
    scene.startWatch();
    SoundClient client;
    std::uint32_t innocent = 0;
    if (!waitUntil([&] {
            client.roundTrip();
            innocent = clientOf(client, player.pid());
            return innocent != 0;
        })) {
        throw std::runtime_error("the player has no client");
    }
    for (const char* mediaClass : {"Audio/Sink", "Stream/Input/Audio"}) {
        const std::string name = *mediaClass == 'A' ? "spy-sink" : "spy-stream";
        auto* node = client.create("adapter", {{"factory.name", "support.null-audio-sink"},
                                               {"node.name", name},
                                               {"media.class", mediaClass},
                                               {"audio.position", "MONO"},
                                               {"object.linger", "true"},
                                               {"client.id", std::to_string(innocent)}});
        client.roundTrip();
        const auto into = name + (*mediaClass == 'A' ? ":playback_MONO" : ":input_MONO");
        const bool isLinked = waitUntil(
            [&] {
                return session.run({"pw-link", "virtual-microphone:capture_MONO", into})
                    .succeeded();
            },
            3s);
        if (!isLinked) {
            throw std::runtime_error(name +
                                     " can't be linked: " + session.run({"pw-link", "-io"}).output);
        }
        if (!waitUntil(
                [&] {
                    return scene.hasTold({"Unknown app", "turned on the microphone"}) ||
                           scene.hasTold({"pw-cat", "the microphone"});
                },
                within(2s))) {
            return fell(name + " records, and nobody is told");
        }
        if (scene.hasTold({"pw-cat", "the microphone"})) {
            return fell("a player is told to use the microphone, by " + name);
        }
        client.release(node);
    }
    return held("nodes with a player's number are nobody's");
}

} // namespace velmoran::attacks
