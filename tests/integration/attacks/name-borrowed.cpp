// A program takes Velmoran's name on the session bus, leaves that connection to a child that
// answers that everything is stopped, and becomes Velmoran's own program, which the child stops.
#include "integration/attacks/Attack.h"
#include "integration/attacks/FakeVelmoran.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran::attacks {

namespace {

/// Takes the name, and becomes a Velmoran that reads a recording which never comes.
[[noreturn]] void borrow(const std::string& ready) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    auto* bus = FakeVelmoran::takeName();
    // Not by the C library's call, which would tell the bus's library that this is another process.
    if (::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr) == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        FakeVelmoran::serveForEver(bus);
    }
    std::array<int, 2> silence{};
    if (::pipe(silence.data()) == 0) {
        ::dup2(silence[0], STDIN_FILENO);
    }
    support::writeFile(ready, "ready");
    const auto program = velmoranctl();
    ::execl(program.c_str(), program.c_str(), "replay", "-", nullptr);
    ::_exit(1);
}

bool runs(pid_t process, const std::string& program) {
    std::error_code gone;
    return std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", gone) ==
           std::filesystem::canonical(program);
}

} // namespace

Verdict nameBorrowed(Scene& scene) {
    scene.startSound();
    const auto ready = scene.session().file("ready").string();
    const pid_t owner = ::fork();
    if (owner == 0) {
        borrow(ready);
    }
    const bool isSet =
        waitUntil([&] { return !support::readFile(ready).empty() && runs(owner, velmoranctl()); });
    ::kill(owner, SIGSTOP);
    const auto stopped = scene.ctl({"stop"});
    ::kill(owner, SIGKILL);
    ::waitpid(owner, nullptr, 0);
    if (!isSet) {
        throw std::runtime_error("Velmoran's program couldn't be started");
    }
    if (stopped.status != 1 || !stopped.output.empty()) {
        return fell("\"stop\" said: " + stopped.output);
    }
    return held("\"stop\" said: " + stopped.errors);
}

} // namespace velmoran::attacks
