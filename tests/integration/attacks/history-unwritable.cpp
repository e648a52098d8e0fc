// The disk takes nothing more of the history: errors of the disk, then a full one. It is said, with
// the reason, and what waited is written when the disk works again.
#include "integration/attacks/HistoryFile.h"

#include <cerrno>

namespace velmoran::attacks {

Verdict historyUnwritable(Scene& scene) {
    const Faults faults(scene);
    scene.startSound();
    faults.startWatch(scene);
    const struct {
        int error;
        std::string reason;
    } cases[] = {{EIO, "Input/output error"}, {ENOSPC, "No space left on device"}};
    for (const auto& [error, reason] : cases) {
        faults.set("disk", error);
        const auto name = "spy-" + std::to_string(error) + "-";
        if (!scene.recordUntilTold(name, within(1s))) {
            return fell(reason + ": a use wasn't told");
        }
        if (!isSaidEverywhere(scene, notWritten + reason + ")")) {
            return fell(reason + ": nobody said that a use isn't kept");
        }
        scene.session().stop(name);
        if (!scene.tellsEnd(name, within(1s))) {
            return fell(reason + ": an end wasn't told");
        }
        faults.mend("disk");
        if (!waitUntil([&] { return endedUses(scene, name) == 1; }, within(3s))) {
            return fell(reason + ": a use was lost");
        }
        if (scene.ctl({"status"}).output.find(notWritten) != std::string::npos) {
            return fell(reason + ": the failure is said though it is over");
        }
    }
    return held("both are said with their reason, and nothing was lost");
}

} // namespace velmoran::attacks
