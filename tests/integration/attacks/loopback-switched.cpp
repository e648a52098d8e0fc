// A module of the sound server's own takes the microphone for less than a second, again and again.
#include "integration/attacks/SecondHand.h"

namespace velmoran::attacks {

Verdict loopbackSwitched(Scene& scene) {
    const int most = scene.isSlow() ? 20 : 4;
    scene.startSound();
    scene.startWatch();
    loadModule(scene, {"module-null-sink", "sink_name=drain"});
    for (int spell = 1; spell <= most; ++spell) {
        const auto module =
            loadModule(scene, {"module-loopback", "source=virtual-microphone", "sink=drain"});
        const bool wasTold =
            waitUntil([&] { return scene.hasTold({"turned on the microphone"}); }, within(700ms));
        scene.session().run({"pactl", "unload-module", module});
        if (wasTold) {
            return held("told in spell " + std::to_string(spell) + " of 0.7 s");
        }
    }
    return fell("nothing was told in " + std::to_string(most) + " spells of 0.7 s");
}

} // namespace velmoran::attacks
