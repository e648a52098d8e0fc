// A program listens in the place where a start of Velmoran looks for one that runs already.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SingleInstancePlace.h"

namespace velmoran::attacks {

Verdict placeTaken(Scene& scene) {
    scene.startSound();
    scene.session().startDisplay();
    scene.session().startTray();
    const SingleInstancePlace place;
    auto& program = startDesktop(scene);
    if (!waitUntil([&] { return !program.running() || scene.ctl({"status"}).succeeded(); }) ||
        !program.running()) {
        return fell("Velmoran didn't run, and said: " + program.errors());
    }
    scene.record("spy");
    if (!waitUntil([&] { return seesUse(scene, "spy"); }, within(1s))) {
        return fell("Velmoran ran and didn't see a recorder");
    }
    const auto named = "(process " + std::to_string(::getpid()) + ")";
    if (program.errors().find(named) == std::string::npos) {
        return fell("nobody was told who listens: " + program.errors());
    }
    // The next start finds the one that runs past the stranger.
    const auto again = scene.session().run({velmoran()});
    if (again.status != 0 || again.errors.find("it is running already") == std::string::npos) {
        return fell("a second start ran beside the first: " + again.errors);
    }
    return held("Velmoran ran and named the program; a second start found the first");
}

} // namespace velmoran::attacks
