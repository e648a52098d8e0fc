// What one session event costs from the reading to the last screen told, with a short and with a
// long history behind it: an event's cost must not grow with what is remembered.
#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "system/scripted/ScriptedMachine.h"
#include "system/scripted/ScriptedTime.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <string>

namespace velmoran {
namespace {

UsageSession pastSession(int number, Timestamp now) {
    UsageSession session;
    session.id = Uuid::random();
    session.device = number % 2 == 0 ? Device::camera : Device::microphone;
    session.app = {.id = "org.example.app" + std::to_string(number % 40),
                   .name = "App " + std::to_string(number % 40),
                   .bundleID = {},
                   .path = "/usr/bin/app",
                   .teamID = "system"};
    session.start = now - (60.0 * number + 1);
    session.end = session.start + 30;
    session.outcome = SessionOutcome::endedNormally;
    session.warningLevel = WarningLevel::standard;
    session.observedFromStart = true;
    return session;
}

/// A file with that many sessions, made once a run.
std::filesystem::path fileWith(int sessions, Timestamp now) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("velmoran-event-" + std::to_string(sessions));
    std::filesystem::remove_all(folder);
    const auto path = folder / "History.store";
    HistoryStore store(path);
    for (int number = 0; number < sessions; ++number) {
        store.saveSession(pastSession(number, now));
    }
    return path;
}

void oneSessionEvent(benchmark::State& state) {
    ScriptedTime time;
    ScriptedMachine machine;
    MemorySettings settings;
    settings.setInteger("retentionDays", 36500);
    const auto path = fileWith(static_cast<int>(state.range(0)), time.now());
    AppModel model({machine, time, time, settings, [&] {
                        return std::make_shared<HistoryStore>(path);
                    }});
    // What a screen reads when it is told: the newest rows.
    std::size_t read = 0;
    const auto screen = model.historySessions.subscribe([&](const HistoryView& history) {
        for (std::size_t row = 0; row < std::min<std::size_t>(history.size(), 30); ++row) {
            read += history[row].app.name.size();
        }
    });
    model.start();
    time.runPosted();
    SystemSnapshot off;
    SystemSnapshot on;
    on.microphoneOn = true;
    on.microphoneApps = {{.name = "Zoom", .bundleID = "us.example.zoom", .path = "/usr/bin/zoom"}};
    model.receive(off);
    bool isOn = false;
    double passed = 0;
    for (auto step : state) {
        time.advanceTo(passed += 10);
        isOn = !isOn;
        model.receive(isOn ? on : off);
    }
    benchmark::DoNotOptimize(read);
    state.counters["sessions"] = static_cast<double>(model.historySessions->size());
    std::filesystem::remove_all(path.parent_path());
}
BENCHMARK(oneSessionEvent)->Arg(100)->Arg(100000)->Unit(benchmark::kMicrosecond)->Iterations(400);

} // namespace
} // namespace velmoran
