// What it costs to ask for an app's processes among two thousand, beside the plainest walk that
// reads what every process runs, and `pgrep -f`. The asked-for app is a program with one process, a
// script among as many of other scripts, and a program of which nearly all processes are.
#include "system/linux/AppProcesses.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

extern char** environ; // NOLINT: POSIX leaves its declaration to the program

namespace velmoran {
namespace {

constexpr std::size_t crowdSize = 2000;

pid_t start(const std::string& file, std::vector<std::string> arguments) {
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

AppIdentity appOf(LinuxAppNames& names, pid_t pid) {
    const auto app = names.identify(pid);
    return {.id = app.id(),
            .name = app.name,
            .bundleID = app.bundleID,
            .path = app.path,
            .teamID = {}};
}

void ask(benchmark::State& state, Crowd::Kind kind, bool forOneOfMany) {
    const Crowd crowd(kind);
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const AppProcesses processes(names);
    const auto app = appOf(names, forOneOfMany ? crowd.oneOfMany() : crowd.wanted());
    std::size_t found = 0;
    for (auto _ : state) {
        found = processes.of(app).size();
    }
    state.counters["processes"] = static_cast<double>(ProcFs().pids().size());
    state.counters["found"] = static_cast<double>(found);
}

void one(benchmark::State& state) {
    ask(state, Crowd::Kind::programs, false);
}
void oneAmongScripts(benchmark::State& state) {
    ask(state, Crowd::Kind::scripts, false);
}
void nearlyAll(benchmark::State& state) {
    ask(state, Crowd::Kind::programs, true);
}
void nearlyAllOfOneScript(benchmark::State& state) {
    ask(state, Crowd::Kind::scripts, true);
}

/// The plain way: which file does each run?
void walkOfExecutables(benchmark::State& state) {
    const Crowd crowd(Crowd::Kind::programs);
    std::size_t found = 0;
    for (auto _ : state) {
        found = 0;
        const ProcFs proc;
        for (const pid_t pid : proc.pids()) {
            found += proc.executable(pid) == crowd.wantedPath() ? 1U : 0U;
        }
    }
    state.counters["found"] = static_cast<double>(found);
}

/// Which command line holds it? As a program, the start included.
void pgrep(benchmark::State& state) {
    const Crowd crowd(Crowd::Kind::programs);
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    std::string program = "pgrep";
    std::string option = "-f";
    std::string wanted = crowd.wantedPath();
    char* arguments[] = {program.data(), option.data(), wanted.data(), nullptr};
    for (auto _ : state) {
        pid_t pid = 0;
        int status = 0;
        if (posix_spawnp(&pid, "pgrep", &quiet, nullptr, arguments, environ) != 0 ||
            waitpid(pid, &status, 0) != pid || status != 0) {
            state.SkipWithError("pgrep found nothing");
            break;
        }
    }
    posix_spawn_file_actions_destroy(&quiet);
}

BENCHMARK(one)->Unit(benchmark::kMillisecond);
BENCHMARK(oneAmongScripts)->Unit(benchmark::kMillisecond);
BENCHMARK(nearlyAll)->Unit(benchmark::kMillisecond);
BENCHMARK(nearlyAllOfOneScript)->Unit(benchmark::kMillisecond);
BENCHMARK(walkOfExecutables)->Unit(benchmark::kMillisecond);
BENCHMARK(pgrep)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

} // namespace
} // namespace velmoran
