// A program has taken all the watches of files that the kernel gives a user, before Velmoran
// starts.
#include "integration/attacks/Attack.h"

#include <fstream>
#include <sched.h>
#include <unistd.h>

namespace velmoran::attacks {

namespace {

void write(const char* path, const std::string& text) {
    if (!(std::ofstream(path) << text << std::flush)) {
        throw NotTried(std::string(path) + " can't be written");
    }
}

/// Where this user's limits are ours to set, and nobody else's watches are taken.
void enterOwnUserNamespace() {
    const auto user = std::to_string(::getuid());
    const auto group = std::to_string(::getgid());
    if (::unshare(CLONE_NEWUSER) != 0) {
        throw NotTried("the kernel gives no user namespace");
    }
    write("/proc/self/setgroups", "deny");
    write("/proc/self/uid_map", user + " " + user + " 1");
    write("/proc/self/gid_map", group + " " + group + " 1");
}

} // namespace

Verdict attack(Scene& scene) {
    enterOwnUserNamespace();
    scene.startSound();
    write("/proc/sys/user/max_inotify_instances", "0");
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
    const auto status = scene.ctl({"status"}).output;
    if (status.find("The camera isn't being watched") == std::string::npos) {
        return fell("status doesn't say that the camera isn't watched: " + status);
    }
    write("/proc/sys/user/max_inotify_instances", "128");
    if (!waitUntil([&] {
            return scene.ctl({"status"}).output.find("isn't being watched") == std::string::npos;
        })) {
        return fell("the camera isn't watched again when it could be");
    }
    return held("a recorder told after " + text(*told) + ", and the camera said not to be watched");
}

} // namespace velmoran::attacks
