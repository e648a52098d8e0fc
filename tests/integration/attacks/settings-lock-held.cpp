// A program holds the lock that Qt's own settings take beside their file, and wait for without end,
// and locks the folder. A stop writes that the microphone is muted.
#include "integration/attacks/Attack.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmoran::attacks {

Verdict settingsLockHeld(Scene& scene) {
    const auto settings = scene.session().home() / ".config/Velmoran/Velmoran.conf";
    scene.startSound();
    scene.startWatch();
    scene.record("first");
    if (!scene.tellsStart("first")) {
        throw std::runtime_error("the first recorder wasn't told");
    }
    std::filesystem::create_directories(settings.parent_path());
    // Process, program, host.
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    support::writeFile(settings.string() + ".lock", std::to_string(getpid()) + "\n" +
                                                        program_invocation_short_name + "\n" +
                                                        host + "\n");
    const int folder = open(settings.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0 || flock(folder, LOCK_EX) != 0) {
        throw std::runtime_error("the folder can't be locked");
    }
    const auto stopped = scene.ctl({"stop"}, within(8s));
    if (!stopped.status) {
        return fell("a stop didn't come to its end within 8 s");
    }
    const auto told = scene.recordUntilTold("second", within(1s));
    if (!told) {
        return fell("after a stop a recorder wasn't told within a second");
    }
    return held("the stop came to its end, and a recorder was told after " + text(*told));
}

} // namespace velmoran::attacks
