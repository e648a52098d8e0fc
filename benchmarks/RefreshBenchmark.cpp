// What one look of the monitor costs when nothing has changed, on a machine with at least 200
// processes and no camera open; beside it, in the same run, one walk over /proc, which the look
// must never be.
#include "core/records/SystemSnapshot.h"
#include "system/SnapshotBuilder.h"
#include "system/linux/LinuxReadings.h"
#include "system/linux/apps/LinuxAppNames.h"
#include "system/linux/clients/PeerSockets.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/ProcFs.h"
#include "system/linux/pulse/PulseContext.h"
#include "system/linux/pulse/PulseOutputs.h"

#include <benchmark/benchmark.h>
#include <csignal>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace velmoran {
namespace {

/// Sleeping processes, for as long as this lives.
class Crowd {
public:
    explicit Crowd(int count) {
        for (int number = 0; number < count; ++number) {
            const pid_t pid = ::fork();
            if (pid == 0) {
                for (;;) {
                    ::pause();
                }
            }
            pids_.push_back(pid);
        }
    }
    ~Crowd() {
        for (const auto pid : pids_) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

private:
    std::vector<pid_t> pids_;
};

void refreshWithNothingChanged(benchmark::State& state) {
    const Crowd crowd(200);
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    PeerSockets peers;
    PulseContext pulse;
    EventLoop loop;
    PulseOutputs outputs(pulse, loop);
    LinuxReadings readings({loop, names, peers, pulse}, "/dev");
    // On the thread that it belongs to, so that the CPU time is all there is.
    loop.runAndWait([&] {
        const auto read = [&] {
            return buildSnapshot(readings.audio().processes(), readings.cameras().devices(), {},
                                 outputs.current(), names);
        };
        const auto last = read();
        for (auto step : state) {
            auto snapshot = read();
            benchmark::DoNotOptimize(snapshot == last);
        }
        state.counters["recording"] = static_cast<double>(last.microphoneApps.size());
        state.counters["devices"] = static_cast<double>(readings.audio().devices().size());
    });
}
BENCHMARK(refreshWithNothingChanged)->Unit(benchmark::kMicrosecond);

void walkOverProc(benchmark::State& state) {
    const Crowd crowd(200);
    const ProcFs proc;
    std::size_t found = 0;
    for (auto step : state) {
        for (const auto pid : proc.pids()) {
            found += proc.executable(pid).has_value() ? 1 : 0;
        }
    }
    benchmark::DoNotOptimize(found);
    state.counters["processes"] = static_cast<double>(proc.pids().size());
}
BENCHMARK(walkOverProc)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace velmoran
