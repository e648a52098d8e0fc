// The output of velmoranctl goes where nothing can be written, or nobody reads.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

Verdict unwritableOutput(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    std::string seen;
    for (const std::string where : {">/dev/full", ">&-", "3> >(exit); wait $!; exec >&3"}) {
        for (const std::string command : {"status", "status --json", "unmute", "stop"}) {
            const auto redirect = "exec " + where;
            const auto run = scene.session().run(
                {"bash", "-c", redirect + "; exec \"$0\" " + command, velmoranctl()});
            if (run.status != 4) {
                return fell("\"" + command + "\" with " + where + " ended with " +
                            (run.status ? std::to_string(*run.status) : "nothing in time"));
            }
            seen += (seen.empty() ? "" : ", ") + std::to_string(*run.status);
        }
    }
    return held("status " + seen);
}

} // namespace velmoran::attacks
