// What it costs to name a process that nobody has seen before.
#include "system/linux/apps/LinuxAppNames.h"

#include "tests/support/RunningProgram.h"
#include "tests/support/TemporaryDirectory.h"

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

/// One of the user's own, with an entry that names it.
void nameAProgramOfTheUsers(benchmark::State& state) {
    const TemporaryDirectory home;
    const auto copy = home.write("bin/napper", "", true);
    std::filesystem::copy_file("/bin/sleep", copy,
                               std::filesystem::copy_options::overwrite_existing);
    home.write("applications/napper.desktop",
               "[Desktop Entry]\nType=Application\nName=Long Naps\nExec=" + copy + '\n');
    auto places = LinuxPlaces::ofThisUser();
    places.applicationFolders.insert(places.applicationFolders.begin(), home.path("applications"));
    const RunningProgram napper(copy, {copy, "600"});
    LinuxAppNames names(places);
    names.identify(napper.pid());
    for (auto _ : state) {
        benchmark::DoNotOptimize(names.identify(napper.pid()));
    }
}
BENCHMARK(nameAProgramOfTheUsers)->Unit(benchmark::kMicrosecond);

/// The first of them, for which the names of root's programs are read.
void readTheNamesOfRoots(benchmark::State& state) {
    const auto places = LinuxPlaces::ofThisUser();
    DesktopEntries entries(places);
    entries.refresh();
    for (auto _ : state) {
        RootsNames names(places, entries);
        benchmark::DoNotOptimize(names.haveLookalikeOf("Long Naps"));
    }
}
BENCHMARK(readTheNamesOfRoots)->Unit(benchmark::kMicrosecond);

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
