// What a person's own program may do, for tests that also run as root, whom no process can hide
// from and no file keep out. Free functions; any thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <grp.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran::support {

using Rights = __user_cap_data_struct[2]; // NOLINT(*-avoid-c-arrays): the kernel's shape

inline bool readRights(Rights& rights) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    return ::syscall(SYS_capget, &header, rights) == 0;
}

inline bool writeRights(const Rights& rights) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    return ::syscall(SYS_capset, &header, rights) == 0;
}

/// For the calling thread and those that it starts, for good. May be called after a fork.
inline bool giveUpRights() {
    const Rights none{};
    return writeRights(none);
}

/// The command, run without the rights that this program has and a person's own hasn't.
inline std::vector<std::string> withoutRights(std::vector<std::string> command) {
    Rights rights{};
    if (readRights(rights) && (rights[0].permitted | rights[1].permitted) != 0) {
        command.insert(command.begin(), {"setpriv", "--bounding-set=-all"});
    }
    return command;
}

/// Makes the calling process another user's, for good; only root can. May be called after a fork.
inline bool becomeNobody() {
    constexpr uid_t nobody = 65534;
    return ::setgroups(0, nullptr) == 0 && ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}

/// The same if it is root's: then it is an ordinary user's in any case.
inline bool becomeOrdinaryUser() {
    return ::getuid() != 0 || becomeNobody();
}

/// What a child of this process answers, which isn't root even if this one is; 98 when it is killed
/// and 99 when it can't lay root down.
inline int askAsUser(const std::function<int()>& ask) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(becomeOrdinaryUser() ? ask() : 99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 98;
}

/// As long as it lives its thread makes no use of root's rights, nor do the threads that it starts
/// meanwhile.
class RightsLaidDown {
public:
    RightsLaidDown() : isDone_(readRights(before_)) {
        Rights less{before_[0], before_[1]};
        less[0].effective = 0;
        less[1].effective = 0;
        isDone_ = isDone_ && writeRights(less);
    }
    ~RightsLaidDown() { writeRights(before_); }
    RightsLaidDown(const RightsLaidDown&) = delete;
    RightsLaidDown& operator=(const RightsLaidDown&) = delete;

    bool isDone() const { return isDone_; }

private:
    Rights before_{};
    bool isDone_ = false;
};

} // namespace velmoran::support
