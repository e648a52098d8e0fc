// A crowded machine: filled up to two thousand processes, one of them of a program that nobody else
// runs. Ends with the object.
#pragma once

#include "system/linux/kernel/ProcFs.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ; // NOLINT: POSIX leaves its declaration to the program

namespace velmoran {

inline constexpr std::size_t crowdSize = 2000;

inline pid_t start(const std::string& file, std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, file.c_str(), nullptr, nullptr, pointers.data(), environ) != 0) {
        throw std::runtime_error("can't start " + file);
    }
    return pid;
}

/// Fills the machine up to two thousand processes, and one of the program that is asked for.
class Crowd {
public:
    enum class Kind { programs, scripts };

    explicit Crowd(Kind kind) {
        folder_ = std::filesystem::temp_directory_path() / ("crowd-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder_);
        wanted_ = folder_ / "wanted";
        std::filesystem::copy_file("/bin/sleep", wanted_,
                                   std::filesystem::copy_options::overwrite_existing);
        const std::string script = folder_ / "crowd.sh";
        std::ofstream(script) << "kill -STOP $$\n";
        pids_.push_back(start(wanted_, {wanted_, "3600"}));
        const auto already = ProcFs().pids().size();
        for (auto count = already; count < crowdSize; ++count) {
            pids_.push_back(kind == Kind::programs
                                ? start("/bin/sleep", {"sleep", "3600"})
                                : start("/bin/sh", {"sh", script, std::to_string(count)}));
        }
        for (const pid_t pid : pids_) {
            while (ProcFs().commandLine(pid).empty()) {
                usleep(1000);
            }
        }
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd() {
        for (const pid_t pid : pids_) {
            kill(pid, SIGKILL);
        }
        for (const pid_t pid : pids_) {
            waitpid(pid, nullptr, 0);
        }
        std::filesystem::remove_all(folder_);
    }

    pid_t wanted() const { return pids_.front(); }
    pid_t oneOfMany() const { return pids_.back(); }
    std::string wantedPath() const { return wanted_; }

private:
    std::filesystem::path folder_;
    std::filesystem::path wanted_;
    std::vector<pid_t> pids_;
};

} // namespace velmoran
