// The clock is set back by a day while uses go on.
#include "integration/attacks/HistoryFile.h"

namespace velmoran::attacks {

Verdict clockSetBack(Scene& scene) {
    const Faults faults(scene);
    scene.startSound();
    faults.startWatch(scene);
    int uses = 0;
    for (const long ahead : {-97199L, -97199L - 3600, -60L}) {
        const auto during = "spy-" + std::to_string(++uses) + "-";
        if (!scene.recordUntilTold(during, within(1s))) {
            return fell("a use wasn't told after the clock was set back");
        }
        faults.set("clock", ahead);
        scene.session().stop(during);
        if (!scene.tellsEnd(during, within(1s))) {
            return fell("an end wasn't told after the clock was set back");
        }
    }
    if (!waitUntil([&] { return endedUses(scene, "spy-") == uses; }, within(3s))) {
        return fell("a use was lost");
    }
    const auto shortest = askHistory(scene, "SELECT min(end - start) FROM SessionRecord");
    if (shortest < 0) {
        return fell("a row of " + std::to_string(shortest) + " s");
    }
    return held(std::to_string(uses) + " uses, none ended before its start");
}

} // namespace velmoran::attacks
