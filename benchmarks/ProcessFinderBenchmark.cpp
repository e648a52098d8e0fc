// What it costs to ask for an app's processes among two thousand, beside the plainest walk that
// reads what every process runs, and `pgrep -f`. The asked-for app is a program with one process, a
// script among as many of other scripts, and a program of which nearly all processes are.
#include "benchmarks/Crowd.h"
#include "system/linux/apps/ProcessFinder.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>

namespace velmoran {
namespace {

AppIdentity appOf(LinuxAppNames& names, pid_t pid) {
    const auto app = names.identify(pid);
    return {
        .id = app.id(), .name = app.name, .bundleID = app.bundleID, .path = app.path, .teamID = {}};
}

void ask(benchmark::State& state, Crowd::Kind kind, bool forOneOfMany) {
    const Crowd crowd(kind);
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const ProcessFinder processes(names);
    const auto app = appOf(names, forOneOfMany ? crowd.oneOfMany() : crowd.wanted());
    std::size_t found = 0;
    for (auto _ : state) {
        found = processes.find(app).size();
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
