// How long it takes until an app is gone and said to be, in real time, beside a plain kill. For a
// program that obeys: from its end to the answer; for one that ignores everything polite: from the
// press to its end. "blocked" is the longest time that the main thread was held up meanwhile.
#include "benchmarks/Crowd.h"
#include "system/linux/closing/LinuxRunningApps.h"
#include "system/scripted/ScriptedTime.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <thread>

namespace velmoran {
namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

/// When that child ends.
std::future<Clock::time_point> endOf(pid_t pid) {
    return std::async(std::launch::async, [pid] {
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
        return Clock::now();
    });
}

/// A copy of the shell, so that it is an app of its own, which does what a script says at SIGTERM.
class Target {
public:
    explicit Target(const std::string& trap) {
        folder_ = std::filesystem::temp_directory_path() / ("target-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder_);
        program_ = folder_ / "target";
        const auto ready = folder_ / "ready";
        std::filesystem::remove(ready);
        std::filesystem::copy_file("/bin/sh", program_,
                                   std::filesystem::copy_options::overwrite_existing);
        // Waits in the shell itself: a program that it waits for would hold up its trap.
        pid_ =
            start(program_, {program_, "-c",
                             trap + "; : > " + ready.string() + "; mkfifo " +
                                 (folder_ / "pipe").string() + "; exec 3<> " +
                                 (folder_ / "pipe").string() + "; while :; do read x <&3; done"});
        while (!std::filesystem::exists(ready)) {
            usleep(1000);
        }
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;
    ~Target() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        std::filesystem::remove_all(folder_);
    }

    pid_t pid() const { return pid_; }
    AppIdentity app() const {
        return {.id = program_, .name = "target", .bundleID = {}, .path = program_, .teamID = {}};
    }

private:
    std::filesystem::path folder_;
    std::filesystem::path program_;
    pid_t pid_ = 0;
};

struct Course {
    Clock::time_point press;
    Clock::time_point end;
    Clock::time_point answer;
    double blocked = 0;
    bool gone = false;
};

Course closeInRealTime(AppCloser& closer, ScriptedTime& time, const Target& target) {
    Course course;
    auto end = endOf(target.pid());
    std::optional<bool> answer;
    const double before = time.elapsed();
    course.press = Clock::now();
    const auto noteBlocking = [&](Clock::time_point since) {
        course.blocked = std::max(course.blocked, seconds(Clock::now() - since));
    };
    closer.close(target.app(), [&](bool gone) {
        course.answer = Clock::now();
        answer = gone;
    });
    noteBlocking(course.press);
    while (!answer) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        const auto turn = Clock::now();
        time.advanceTo(before + seconds(turn - course.press));
        noteBlocking(turn);
    }
    course.gone = *answer;
    course.end = end.get();
    return course;
}

void measure(benchmark::State& state, bool obeys, bool inACrowd) {
    const auto crowd = inACrowd ? std::make_unique<Crowd>(Crowd::Kind::programs) : nullptr;
    const char* display = std::getenv("DISPLAY");
    LinuxAppNames names(LinuxPlaces::ofThisUser());
    const ProcessFinder processes(names);
    LinuxRunningApps running(processes, display ? display : "");
    ScriptedTime time;
    AppCloser closer(running, time);
    double most = 0;
    double mostBlocked = 0;
    for (auto _ : state) {
        const Target target(obeys ? "trap 'exit 0' TERM" : "trap '' TERM INT HUP");
        const auto course = closeInRealTime(closer, time, target);
        if (!course.gone) {
            state.SkipWithError("it wasn't closed");
            break;
        }
        const double took =
            obeys ? seconds(course.answer - course.end) : seconds(course.end - course.press);
        state.SetIterationTime(took);
        most = std::max(most, took);
        mostBlocked = std::max(mostBlocked, course.blocked);
    }
    state.counters["most_ms"] = most * 1000;
    state.counters["blocked_ms"] = mostBlocked * 1000;
}

void fromTheEndToTheAnswer(benchmark::State& state) {
    measure(state, true, false);
}
void fromTheEndToTheAnswerInACrowd(benchmark::State& state) {
    measure(state, true, true);
}
void fromThePressToAForcedEnd(benchmark::State& state) {
    measure(state, false, false);
}
void fromThePressToAForcedEndInACrowd(benchmark::State& state) {
    measure(state, false, true);
}

/// What the kernel and the program alone take.
void plainKill(benchmark::State& state) {
    for (auto _ : state) {
        const Target target("trap 'exit 0' TERM");
        auto end = endOf(target.pid());
        const auto press = Clock::now();
        kill(target.pid(), SIGTERM);
        state.SetIterationTime(seconds(end.get() - press));
    }
}

BENCHMARK(fromTheEndToTheAnswer)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(15);
BENCHMARK(fromTheEndToTheAnswerInACrowd)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(15);
BENCHMARK(fromThePressToAForcedEnd)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(10);
BENCHMARK(fromThePressToAForcedEndInACrowd)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(10);
BENCHMARK(plainKill)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(50);

} // namespace
} // namespace velmoran
