// A portal has two connections to PipeWire, one for itself and one that it lets an app use. All
// that was before Velmoran came, or the app gets its connection after that.
#include "integration/attacks/HandedOn.h"
#include "integration/attacks/SoundClient.h"

#include <memory>

namespace velmoran::attacks {

Verdict portalFromBefore(Scene& scene) {
    scene.startSound();
    const SoundClient own;
    for (const bool isBefore : {true, false}) {
        const std::string app = isBefore ? "early-app" : "late-app";
        auto given = std::make_unique<OpenConnection>(pipeWireSocket(scene));
        fcntl(given->number(), F_SETFD, FD_CLOEXEC); // nobody else's
        const auto begin = [&] {
            fcntl(given->number(), F_SETFD, 0);
            scene.record(app, {"--fd", std::to_string(given->number())});
            given.reset();
        };
        if (isBefore) {
            begin();
            if (!waitUntil([&] {
                    return scene.session().graph().find("\"graph-client\"") != std::string::npos;
                })) {
                throw std::runtime_error("the app didn't record");
            }
        }
        scene.startWatch();
        if (!isBefore) {
            begin();
        }
        if (!scene.tellsStart(app, within(5s))) {
            return fell(app + " wasn't named, though it alone holds its connection");
        }
        scene.session().stop("watch");
        scene.session().stop(app);
    }
    return held("an app was named that alone held what a portal had opened for it");
}

} // namespace velmoran::attacks
