// A program listens in Velmoran's place, leaves the socket to a child that answers whoever comes,
// and becomes Velmoran's own program, which the child stops before it does anything.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SingleInstancePlace.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace velmoran::attacks {

namespace {

/// Answers everybody, also before he has asked anything.
[[noreturn]] void answerAll(int socket) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
        const int peer = ::accept(socket, nullptr, nullptr);
        if (peer < 0) {
            ::_exit(0);
        }
        [[maybe_unused]] const auto sent = ::send(peer, "", 1, MSG_NOSIGNAL);
        ::close(peer);
    }
}

bool runsVelmoran(pid_t process) {
    std::error_code gone;
    return std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", gone) ==
           std::filesystem::canonical(velmoran());
}

/// Two processes that end with this object.
class Impostor {
public:
    Impostor() {
        listener_ = ::fork();
        if (listener_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            const SingleInstancePlace place;
            if (const pid_t child = ::fork(); child == 0) {
                answerAll(place.socket());
            }
            const auto program = velmoran();
            ::execl(program.c_str(), program.c_str(), "--demo", nullptr);
            ::_exit(1);
        }
        if (!waitUntil([&] { return runsVelmoran(listener_); })) {
            throw std::runtime_error("Velmoran's program couldn't be started");
        }
        ::kill(listener_, SIGSTOP);
    }
    ~Impostor() {
        ::kill(listener_, SIGKILL);
        ::waitpid(listener_, nullptr, 0);
    }
    Impostor(const Impostor&) = delete;
    Impostor& operator=(const Impostor&) = delete;

    [[nodiscard]] pid_t listener() const { return listener_; }

private:
    pid_t listener_;
};

} // namespace

Verdict placeBorrowed(Scene& scene) {
    scene.startSound();
    scene.session().startDisplay();
    scene.session().startTray();
    scene.session().enter();
    const Impostor impostor;
    auto& program = startDesktop(scene);
    if (!waitUntil([&] { return !program.running() || scene.ctl({"status"}).succeeded(); }) ||
        !program.running()) {
        return fell("Velmoran didn't run, and said: " + program.errors());
    }
    scene.record("spy");
    if (!waitUntil([&] { return seesUse(scene, "spy"); }, within(1s))) {
        return fell("Velmoran ran and didn't see a recorder");
    }
    return held("Velmoran ran: " + program.errors());
}

} // namespace velmoran::attacks
