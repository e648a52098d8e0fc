// What it costs to name a process that nobody has seen before.
#include "system/linux/apps/LinuxAppNames.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

namespace velmoran {
namespace {

void nameThisProcess(benchmark::State& state) {
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    names.identify(getpid());
    for (auto _ : state) {
        benchmark::DoNotOptimize(names.identify(getpid()));
    }
}
BENCHMARK(nameThisProcess)->Unit(benchmark::kMicrosecond);

void nameThePinned(benchmark::State& state) {
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    names.pin(1, names.identify(getpid()));
    const AudioProcess process{.objectID = 1,
                               .pid = getpid(),
                               .bundleID = {},
                               .isRunningInput = true,
                               .isRunningOutput = false};
    for (auto _ : state) {
        benchmark::DoNotOptimize(names.ofProcess(process));
    }
}
BENCHMARK(nameThePinned)->Unit(benchmark::kNanosecond);

void readAllEntries(benchmark::State& state) {
    for (auto _ : state) {
        DesktopEntries entries(LinuxPlaces::ofThisUser());
        entries.refresh();
        benchmark::DoNotOptimize(entries.all().size());
    }
}
BENCHMARK(readAllEntries)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace velmoran
