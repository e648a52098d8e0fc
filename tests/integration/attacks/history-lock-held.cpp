// A stranger holds the lock by which one Velmoran tells another that it keeps the history.
#include "integration/attacks/HistoryFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmoran::attacks {

Verdict historyLockHeld(Scene& scene) {
    const auto lock = historyFile(scene).string() + ".lock";
    std::filesystem::create_directories(historyFile(scene).parent_path());
    const int descriptor = open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        throw std::runtime_error("the lock can't be taken");
    }
    scene.startSound();
    scene.startWatch();
    if (!scene.recordUntilTold("spy", within(1s))) {
        return fell("a recorder wasn't told");
    }
    scene.session().stop("spy");
    const bool stands = waitUntil([&] { return endedUses(scene, "spy") == 1; }, within(5s));
    close(descriptor);
    return stands ? held("the use stands in the history, whoever holds its lock")
                  : fell("a stranger passes for a Velmoran that keeps the history: no use stands "
                         "there, and the watch said: " +
                         scene.told());
}

} // namespace velmoran::attacks
