// What an event costs with a short and with a long history, and what opening a long one costs;
// beside each the bare database library doing the least that could do the same work.
#include "core/history/HistoryStore.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace {

using namespace velmoran;
namespace fs = std::filesystem;

void check(int result, int expected = SQLITE_OK) {
    if (result != expected) {
        throw std::runtime_error(sqlite3_errstr(result));
    }
}

struct Bare {
    explicit Bare(const fs::path& file) {
        check(sqlite3_open(file.c_str(), &handle));
        run("PRAGMA synchronous = NORMAL; PRAGMA secure_delete = ON");
    }
    ~Bare() { sqlite3_close(handle); }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;
    void run(const std::string& sql) const {
        check(sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr));
    }
    sqlite3* handle = nullptr;
};

/// Folders and files of this run, gone at its end.
class Files {
public:
    Files() {
        std::string name = fs::temp_directory_path() / "velmoran-history-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder_ = name;
    }
    ~Files() { fs::remove_all(folder_); }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    /// A copy of a history with that many ended sessions, two peers in every other one.
    fs::path history(std::int64_t count) {
        auto& original = originals_[count];
        if (original.empty()) {
            original = folder_ / fmt::format("{}.store", count);
            HistoryStore{original}; // makes the tables
            const Bare bare(original);
            bare.run(fmt::format(R"(
                WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < {})
                INSERT INTO SessionRecord SELECT
                    printf('%08X-0000-4000-8000-%012X', (i * 2654435761) % 4294967296, i),
                    CASE i % 3 WHEN 0 THEN 'camera' WHEN 1 THEN 'microphone' ELSE 'speaker' END,
                    'org.example.application' || (i % 40), 'Application ' || (i % 40),
                    'org.example.application' || (i % 40), '/usr/bin/application' || (i % 40), 'system',
                    700000000.25 + i * 60, 700000000.25 + i * 60 + 45, 'endedNormally', 'standard',
                    CASE i % 2 WHEN 0 THEN CAST('[{{"address":"192.0.2.' || (i % 256) ||
                        '","port":443,"transport":"TCP","firstSeen":' || (700000001.5 + i * 60) ||
                        '}},{{"address":"2001:db8::' || (i % 256) ||
                        '","port":3478,"transport":"UDP","firstSeen":' || (700000016.5 + i * 60) ||
                        '}}]' AS BLOB) END, 1
                FROM n)",
                                 count));
        }
        const auto copy = folder_ / fmt::format("copy{}.store", ++copies_);
        fs::copy_file(original, copy);
        return copy;
    }

private:
    fs::path folder_;
    std::map<std::int64_t, fs::path> originals_;
    int copies_ = 0;
};

Files& files() {
    static Files all;
    return all;
}

UsageSession newSession() {
    static double start = 900000000;
    start += 60;
    return {.id = Uuid::random(),
            .device = Device::camera,
            .app = {.id = "org.example.application1",
                    .name = "Application 1",
                    .bundleID = "org.example.application1",
                    .path = "/usr/bin/application1",
                    .teamID = "system"},
            .start = {start},
            .end = {},
            .outcome = {},
            .warningLevel = WarningLevel::standard,
            .connections = {},
            .observedFromStart = true};
}

/// Runs the event again and again and adds the slowest and the 99th percentile to the mean.
template <class Event>
void measure(benchmark::State& state, Event event) {
    std::vector<double> times;
    for (auto _ : state) {
        const auto from = std::chrono::steady_clock::now();
        event();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - from;
        state.SetIterationTime(taken.count());
        times.push_back(taken.count() * 1e6);
    }
    std::sort(times.begin(), times.end());
    state.counters["median_us"] = times[times.size() / 2];
    state.counters["p99_us"] = times[times.size() * 99 / 100];
    state.counters["slowest_us"] = times.back();
}

/// Alternately the start and the end of a session: saved, and the list for the screens refreshed
/// and compared with the one before, as the model does.
void oneEvent(benchmark::State& state) {
    HistoryStore store{files().history(state.range(0))};
    auto shown = store.history();
    auto session = newSession();
    bool isStart = false;
    measure(state, [&] {
        isStart = !isStart;
        if (isStart) {
            session = newSession();
        } else {
            session.end = session.start + 20;
            session.outcome = SessionOutcome::endedNormally;
        }
        store.saveSession(session);
        auto next = store.history();
        if (!(next == shown)) {
            shown = std::move(next);
        }
    });
    benchmark::DoNotOptimize(shown);
}

/// The same row by one prepared upsert of the bare library, and no list at all.
void oneBareUpsert(benchmark::State& state) {
    const Bare bare(files().history(state.range(0)));
    sqlite3_stmt* upsert = nullptr;
    check(sqlite3_prepare_v2(
        bare.handle,
        "INSERT INTO SessionRecord VALUES (?1, 'camera', 'org.example.application1', "
        "'Application 1', 'org.example.application1', '/usr/bin/application1', 'system', ?2, ?3, "
        "?4, 'standard', NULL, 1) ON CONFLICT (id) DO UPDATE SET end = ?3, outcomeRaw = ?4",
        -1, &upsert, nullptr));
    std::string id;
    double start = 0;
    bool isStart = false;
    measure(state, [&] {
        isStart = !isStart;
        if (isStart) {
            const auto session = newSession();
            id = session.id.text();
            start = session.start.seconds;
            sqlite3_bind_null(upsert, 3);
            sqlite3_bind_null(upsert, 4);
        } else {
            sqlite3_bind_double(upsert, 3, start + 20);
            sqlite3_bind_text(upsert, 4, "endedNormally", -1, SQLITE_STATIC);
        }
        sqlite3_bind_text(upsert, 1, id.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_double(upsert, 2, start);
        check(sqlite3_step(upsert), SQLITE_DONE);
        sqlite3_reset(upsert);
    });
    sqlite3_finalize(upsert);
}

/// All that a start of the program does with its history.
void opening(benchmark::State& state) {
    const auto file = files().history(state.range(0));
    for (auto _ : state) {
        HistoryStore store{file};
        store.closeOpenRecords();
        store.prune({0});
        const auto sessions = store.history();
        if (sessions.size() != static_cast<std::size_t>(state.range(0)) ||
            sessions[0].connections.size() + sessions[1].connections.size() != 2) {
            state.SkipWithError("not everything was read");
        }
    }
}

/// Each value of each row looked at by the bare library, and nothing made of it.
void bareReading(benchmark::State& state) {
    const auto file = files().history(state.range(0));
    for (auto _ : state) {
        const Bare bare(file);
        sqlite3_stmt* query = nullptr;
        check(sqlite3_prepare_v2(bare.handle, "SELECT * FROM SessionRecord ORDER BY start DESC", -1,
                                 &query, nullptr));
        std::int64_t sum = 0;
        while (sqlite3_step(query) == SQLITE_ROW) {
            for (int column = 0; column < 13; ++column) {
                sum += sqlite3_column_type(query, column) == SQLITE_FLOAT
                           ? static_cast<std::int64_t>(sqlite3_column_double(query, column))
                           : (sqlite3_column_blob(query, column) != nullptr) +
                                 sqlite3_column_bytes(query, column);
            }
        }
        benchmark::DoNotOptimize(sum);
        sqlite3_finalize(query);
    }
}

BENCHMARK(oneEvent)->Arg(100)->Arg(100000)->Iterations(600)->Repetitions(3)->UseManualTime()->Unit(
    benchmark::kMicrosecond);
BENCHMARK(oneBareUpsert)
    ->Arg(100)
    ->Arg(100000)
    ->Iterations(600)
    ->Repetitions(3)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(opening)->Arg(100)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(bareReading)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
