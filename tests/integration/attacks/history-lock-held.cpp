// A stranger holds the lock by which one Velmoran tells another that it keeps the history.
#include "integration/attacks/Attack.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmoran::attacks {

Verdict attack(Scene& scene) {
    const auto lock = scene.session().home() / ".local/share/Velmoran/History.store.lock";
    std::filesystem::create_directories(lock.parent_path());
    const int descriptor = open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        throw std::runtime_error("the lock can't be taken");
    }
    scene.startSound();
    scene.startWatch();
    if (!scene.recordUntilTold("spy", within(1s))) {
        return fell("a recorder wasn't told");
    }
    if (scene.hasTold({"Velmoran is already running"})) {
        return fell("a stranger passes for a Velmoran that keeps the history");
    }
    close(descriptor);
    return held("a stranger with the lock isn't taken for Velmoran");
}

} // namespace velmoran::attacks
