// A real program that runs for as long as a test wants to look at it.
#pragma once

#include "system/linux/kernel/ProcFs.h"

#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

extern char** environ; // NOLINT: POSIX leaves its declaration to the program

namespace velmoran {

class RunningProgram {
public:
    /// When this returns, the program's file and arguments have taken the place of the
    /// test's own.
    RunningProgram(const std::string& file, std::vector<std::string> arguments) {
        std::vector<char*> pointers;
        for (auto& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        if (posix_spawn(&pid_, file.c_str(), nullptr, nullptr, pointers.data(), environ) != 0) {
            throw std::runtime_error("can't start " + file);
        }
        // The kernel lets the parent go on before it has laid out the arguments. A program whose
        // first thread has ended shows none any more.
        while (isRunning() && ProcFs().commandLine(pid_).empty() &&
               !ProcFs().survivingThread(pid_)) {
            std::this_thread::yield();
        }
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram() { end(); }

    pid_t pid() const { return pid_; }
    /// Kills and collects it.
    void end() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            pid_ = 0;
        }
    }
    bool isRunning() const {
        siginfo_t info{};
        return pid_ > 0 &&
               waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == 0;
    }

private:
    pid_t pid_ = 0;
};

} // namespace velmoran
