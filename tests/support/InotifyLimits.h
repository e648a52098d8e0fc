// How many watches of files the kernel gives a user, as a test sets it. Free functions for one
// thread.
#pragma once

#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran::support {

inline bool writeOnce(const std::string& path, const std::string& text) {
    return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

/// Where this user's limits are ours to set, and nobody else's watches are taken. False where the
/// kernel gives no user namespace. For good, and for a process with one thread.
inline bool enterOwnUserNamespace() {
    const auto user = std::to_string(::getuid());
    const auto group = std::to_string(::getgid());
    return ::unshare(CLONE_NEWUSER) == 0 && writeOnce("/proc/self/setgroups", "deny") &&
           writeOnce("/proc/self/uid_map", user + " " + user + " 1") &&
           writeOnce("/proc/self/gid_map", group + " " + group + " 1");
}

/// "instances" or "watches", in such a place. For what is made from now on; what is there already
/// stays.
inline bool limitInotify(const std::string& what, int most) {
    return writeOnce("/proc/sys/user/max_inotify_" + what, std::to_string(most));
}

/// What a child of this process answers that has limits of its own; nothing where that can't be,
/// 98 when it is killed.
inline std::optional<int> askWithInotifyLimits(const std::function<int()>& ask) {
    constexpr int cannotBe = 99;
    const pid_t child = fork();
    if (child == 0) {
        const bool canBe = enterOwnUserNamespace() && limitInotify("instances", 100) &&
                           limitInotify("watches", 100);
        _exit(canBe ? ask() : cannotBe);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const int answer = WIFEXITED(status) ? WEXITSTATUS(status) : 98;
    return answer == cannotBe ? std::nullopt : std::optional(answer);
}

} // namespace velmoran::support
