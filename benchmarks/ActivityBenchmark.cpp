// What lists and charts over a long history cost: rows, times per app, days, and what the model
// makes of them for the screens; beside it the database library reading the same rows.
#include "app/model/MemorySettings.h"
#include "app/model/ShownHistory.h"
#include "core/history/Activity.h"
#include "core/history/DayUsage.h"
#include "core/history/HistoryStore.h"
#include "system/scripted/ScriptedMachine.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace {

using namespace velmoran;
namespace fs = std::filesystem;

constexpr unsigned count = 100'000;
constexpr double spacing = 77; // seconds; 89 days in all
const Timestamp now{794136600};

/// 40 apps; each third use is of the microphone, two seconds after a camera's of the same app.
UsageSession useNumber(unsigned number) {
    const auto app = number / 3 % 40;
    UsageSession use;
    use.id = *Uuid::parse(fmt::format("{:08X}-0000-4000-8000-000000000000", number));
    use.device = allDevices[number % 3];
    use.app = {.id = fmt::format("org.example.application{}", app),
               .name = fmt::format("Application {}", app),
               .bundleID = fmt::format("org.example.application{}", app),
               .path = fmt::format("/usr/bin/application{}", app),
               .teamID = "system"};
    const auto last = count - number;
    use.start = now - last * spacing + (number % 3 == 1 ? 2 - spacing : 0);
    use.end = use.start + 1.5 * spacing;
    use.outcome = SessionOutcome::endedNormally;
    use.warningLevel = WarningLevel::standard;
    use.observedFromStart = true;
    return use;
}

/// A file with the history, which goes with this run, and the list of it.
class LongHistory {
public:
    LongHistory() {
        std::string name = fs::temp_directory_path() / "velmoran-activity-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder_ = name;
        HistoryStore store{file()};
        for (unsigned number = 0; number < count; ++number) {
            store.saveSession(useNumber(number));
        }
        view = HistoryStore(file()).history(); // as it is read at a start, in one go
        if (view.size() != count) {
            throw std::runtime_error("not everything was stored");
        }
        sessions = view.sessions();
    }
    ~LongHistory() { fs::remove_all(folder_); }
    LongHistory(const LongHistory&) = delete;
    LongHistory& operator=(const LongHistory&) = delete;

    fs::path file() const { return folder_ / "History.store"; }

    HistoryView view;
    SessionList sessions;

private:
    fs::path folder_;
};

const LongHistory& history() {
    static const LongHistory all;
    return all;
}

/// Runs the work again and again; `expected` is what it has to give, so that nothing is left out.
template <class Work>
void measure(benchmark::State& state, std::size_t expected, Work work) {
    history();
    for (auto _ : state) {
        auto result = work();
        if (result.size() != expected) {
            state.SkipWithError(fmt::format("{} instead of {}", result.size(), expected).c_str());
        }
        benchmark::DoNotOptimize(result);
    }
}

void rows(benchmark::State& state) {
    measure(state, count - count / 3, [] { return Activity::rows(history().sessions); });
}

void appTimes(benchmark::State& state) {
    measure(state, 40, [] {
        return Activity::appTimes(history().sessions, {now - 100 * 86400.0, now}, now);
    });
}

void days(benchmark::State& state) {
    const Localizer calendar("en_US", "Europe/Berlin", {});
    measure(state, static_cast<std::size_t>(state.range(0)), [&] {
        return DayUsage::days(history().sessions, static_cast<int>(state.range(0)), now, calendar);
    });
}

/// What the screens ask the model for.
struct Shown {
    ScriptedMachine machine;
    MemorySettings memory;
    SettingsStore settings{memory};
    ShownHistory history{machine, settings};
};

void visibleSessions(benchmark::State& state) {
    const Shown shown;
    measure(state, count, [&] { return shown.history.visible(history().view); });
}

void recentRows(benchmark::State& state) {
    const Shown shown;
    measure(state, 20, [&] { return shown.history.recentRows(history().view); });
}

void rowOfTheOldest(benchmark::State& state) {
    const auto oldest = history().sessions.back()->id;
    measure(state, 2,
            [&] { return ShownHistory::rowContaining(oldest, history().view).value().sessions; });
}

/// Each value of each row looked at by the bare library, and nothing made of it.
void bareReading(benchmark::State& state) {
    sqlite3* bare = nullptr;
    sqlite3_stmt* query = nullptr;
    if (sqlite3_open(history().file().c_str(), &bare) != SQLITE_OK ||
        sqlite3_prepare_v2(bare, "SELECT * FROM SessionRecord ORDER BY start DESC", -1, &query,
                           nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(bare));
    }
    for (auto _ : state) {
        std::size_t read = 0;
        std::int64_t sum = 0;
        for (; sqlite3_step(query) == SQLITE_ROW; ++read) {
            for (int column = 0; column < sqlite3_column_count(query); ++column) {
                sum += sqlite3_column_type(query, column) == SQLITE_FLOAT
                           ? static_cast<std::int64_t>(sqlite3_column_double(query, column))
                           : (sqlite3_column_blob(query, column) != nullptr) +
                                 sqlite3_column_bytes(query, column);
            }
        }
        benchmark::DoNotOptimize(sum);
        sqlite3_reset(query);
        if (read != count) {
            state.SkipWithError("not everything was read");
        }
    }
    sqlite3_finalize(query);
    sqlite3_close(bare);
}

BENCHMARK(bareReading)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(rows)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(appTimes)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(days)->Arg(7)->Arg(90)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(visibleSessions)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(recentRows)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(rowOfTheOldest)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
