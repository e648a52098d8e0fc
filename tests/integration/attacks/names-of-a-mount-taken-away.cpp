// A recorder in a file system of the user's own that is taken away while it runs: from then on the
// kernel gives its path as it was seen from that file system's root, and that is "/usr/bin/pw-cat".
// A user has such file systems by FUSE; here it is one in memory, in a mount namespace that the
// attack shares with Velmoran.
#include "integration/attacks/ToldNames.h"

#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace velmoran::attacks {

namespace {

constexpr auto victim = "/usr/bin/pw-cat";

void enterOwnMounts() {
    const auto uid = std::to_string(getuid());
    const auto gid = std::to_string(getgid());
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            throw NotTried("may not make a mount namespace here");
        }
        support::writeFile("/proc/self/uid_map", uid + ' ' + uid + " 1");
        support::writeFile("/proc/self/setgroups", "deny");
        support::writeFile("/proc/self/gid_map", gid + ' ' + gid + " 1");
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        throw NotTried("may not mount here");
    }
}

} // namespace

Verdict namesOfAMountTakenAway(Scene& scene) {
    enterOwnMounts();
    const auto folder = scene.session().file("mine");
    std::filesystem::create_directory(folder);
    if (mount("none", folder.c_str(), "tmpfs", 0, nullptr) != 0) {
        throw NotTried("may not mount here");
    }
    const std::filesystem::path copy = folder.string() + victim;
    std::filesystem::create_directories(copy.parent_path());
    std::filesystem::copy_file(clientProgram("graph-client"), copy);
    scene.startSound();
    scene.startWatch();
    const auto before = scene.told();
    // It is to connect only when its file system is gone.
    scene.session().child("pipewire")->signal(SIGSTOP);
    const auto& recorder = scene.session().start("recorder", {copy});
    const auto link = "/proc/" + std::to_string(recorder.pid()) + "/exe";
    std::error_code none;
    const bool runs = waitUntil([&] { return std::filesystem::read_symlink(link, none) == copy; });
    const bool isAway = umount2(folder.c_str(), MNT_DETACH) == 0;
    scene.session().child("pipewire")->signal(SIGCONT);
    if (!runs || !isAway || std::filesystem::read_symlink(link, none) != victim) {
        throw NotTried("the kernel doesn't give such a path here");
    }
    const auto told = nameToldAfter(scene, before);
    return told == "Unknown app" ? held("told as “" + told + "”, since its path says nothing")
                                 : fell("told as “" + told + "”");
}

} // namespace velmoran::attacks
