// A program has taken all the watches of files that the kernel gives a user, before Velmoran
// starts.
#include "integration/attacks/Attack.h"
#include "support/InotifyLimits.h"

#include <filesystem>

namespace velmoran::attacks {

namespace {

void limit(const std::string& what, int most) {
    if (!support::limitInotify(what, most)) {
        throw NotTried("the most " + what + " can't be set");
    }
}

/// Whether a process has a descriptor of inotify.
bool hasInotify(pid_t pid) {
    std::error_code error;
    const auto folder = "/proc/" + std::to_string(pid) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (std::filesystem::read_symlink(entry, error) == "anon_inode:inotify") {
            return true;
        }
    }
    return false;
}

/// Whether the status says that the camera is watched, or that it isn't.
bool saysOfCamera(Scene& scene, bool isWatched) {
    const auto status = scene.ctl({"status"});
    const auto at = status.output.find("The camera isn't being watched");
    return status.succeeded() && (at == std::string::npos) == isWatched;
}

} // namespace

Verdict watchesTaken(Scene& scene) {
    if (!support::enterOwnUserNamespace()) {
        throw NotTried("the kernel gives no user namespace");
    }
    scene.startSound();
    limit("instances", 0);
    limit("watches", 0);
    support::writeFile(scene.session().file("dev") / "video0", std::string(4096, 'x'));
    auto& watch = scene.session().start(
        "watch", {velmoranctl(), "watch", "--device-folder", scene.session().file("dev").string()});
    if (!waitUntil([&] { return !watch.running() || scene.ctl({"status"}).succeeded(); }) ||
        !watch.running()) {
        return fell("Velmoran didn't run: " + watch.errors());
    }
    const auto told = scene.recordUntilTold("spy", within(500ms));
    if (!told) {
        return fell("a recorder wasn't told within half a second");
    }
    if (!saysOfCamera(scene, false)) {
        return fell("status doesn't say that the camera isn't watched");
    }
    limit("instances", 128);
    if (!waitUntil([&] { return hasInotify(watch.pid()); })) {
        return fell("inotify isn't used when there is a descriptor again");
    }
    if (!saysOfCamera(scene, false)) {
        return fell("status doesn't say that there is no watch for the camera");
    }
    limit("watches", 1000);
    if (!waitUntil([&] { return saysOfCamera(scene, true); })) {
        return fell("the camera isn't watched again when it could be");
    }
    // One that comes while there is no watch left.
    limit("watches", 0);
    support::writeFile(scene.session().file("dev") / "video1", std::string(4096, 'x'));
    if (!waitUntil([&] { return saysOfCamera(scene, false); })) {
        return fell("status doesn't say that there is no watch for a new camera");
    }
    limit("watches", 1000);
    if (!waitUntil([&] { return saysOfCamera(scene, true); })) {
        return fell("a new camera isn't watched when it could be");
    }
    return held("a recorder told after " + text(*told) + ", and the camera said not to be watched");
}

} // namespace velmoran::attacks
