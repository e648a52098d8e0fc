// What the away watch costs: the decisions of a tick beside the readings alone, and how long it
// takes until another process can read an event that was accepted, beside a bare upsert of the same
// bytes. The argument is how many events stand in the report before.
#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "system/scripted/ScriptedMachine.h"
#include "system/scripted/ScriptedTime.h"

#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran {
namespace {

// MARK: - A tick

class BusyReadings final : public AwayReadings {
public:
    std::optional<Seconds> sinceLast(InputEvent event) override {
        return event == InputEvent::scrollWheel ? 0.5 : 5.0;
    }
    std::optional<bool> isLidClosed() override { return false; }
    std::optional<bool> isOnACPower() override { return true; }
    std::unique_ptr<LidAngle> openLidAngle() override { return std::make_unique<Hinge>(); }

private:
    class Hinge final : public LidAngle {
    public:
        std::optional<int> read() override { return 90 + (++count_ & 1); }

    private:
        int count_ = 0;
    };
};

void tick(benchmark::State& state) {
    ScriptedTime time;
    BusyReadings readings;
    AwaySensors sensors(readings, time);
    int signals = 0;
    sensors.start([&](const AwaySignal&) { ++signals; });
    for (auto _ : state) {
        time.advanceBy(AwaySensors::interval);
    }
    benchmark::DoNotOptimize(signals);
}
BENCHMARK(tick);

void readingsAlone(benchmark::State& state) {
    BusyReadings busy;
    AwayReadings& readings = busy;
    const auto hinge = readings.openLidAngle();
    constexpr std::array events = {InputEvent::keyDown, InputEvent::mouseMoved,
                                   InputEvent::leftMouseDown, InputEvent::rightMouseDown,
                                   InputEvent::scrollWheel};
    for (auto _ : state) {
        for (const auto event : events) {
            benchmark::DoNotOptimize(readings.sinceLast(event));
        }
        benchmark::DoNotOptimize(readings.isLidClosed());
        benchmark::DoNotOptimize(hinge->read());
        benchmark::DoNotOptimize(readings.isOnACPower());
    }
}
BENCHMARK(readingsAlone);

// MARK: - An event in the store

void check(int result, int expected = SQLITE_OK) {
    if (result != expected) {
        throw std::runtime_error(sqlite3_errstr(result));
    }
}

/// Another process that reads the file all the time and says when the report has grown.
class Reader {
public:
    explicit Reader(const std::filesystem::path& file) {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
        child_ = fork();
        if (child_ == 0) {
            watch(file, ends[1]);
        }
        close(ends[1]);
        end_ = ends[0];
        wait(); // for what stands there at the beginning
    }
    ~Reader() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        close(end_);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void wait() const {
        char said = 0;
        if (read(end_, &said, 1) != 1) {
            throw std::runtime_error("the reader has gone");
        }
    }

private:
    [[noreturn]] static void watch(const std::filesystem::path& file, int end) {
        sqlite3* handle = nullptr;
        sqlite3_stmt* query = nullptr;
        check(sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr));
        check(sqlite3_prepare_v2(handle, "SELECT max(length(payload)) FROM AwayReportRecord", -1,
                                 &query, nullptr));
        for (int known = -1;;) {
            if (sqlite3_step(query) == SQLITE_ROW) {
                const int length = sqlite3_column_int(query, 0);
                if (length != known && write(end, "+", 1) != 1) {
                    _exit(1);
                }
                known = length;
            }
            sqlite3_reset(query);
        }
    }

    pid_t child_ = 0;
    int end_ = -1;
};

std::filesystem::path freshFile(const char* name) {
    const auto folder = std::filesystem::temp_directory_path() / name;
    std::filesystem::remove_all(folder);
    return folder / "History.store";
}

/// A long one, so that the text always grows by as much.
AwaySignal nextSignal(int& number) {
    return {.kind = AwaySignal::Kind::devicePluggedIn,
            .from = 0,
            .to = 0,
            .name = "Device " + std::to_string(1000000 + ++number)};
}

void report(benchmark::State& state, std::chrono::steady_clock::time_point start) {
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(took.count());
}

void eventUntilItIsRead(benchmark::State& state) {
    const auto file = freshFile("velmoran-away-event");
    ScriptedTime time;
    ScriptedMachine machine;
    MemorySettings settings;
    settings.setBoolean("awayWatchOnLock", true);
    AppModel model({machine, time, time, settings, [&] {
                        return std::make_shared<HistoryStore>(file);
                    }});
    model.start();
    machine.screenLock().lock();
    time.runPosted();
    int number = 0;
    while (number < state.range(0)) {
        machine.away().announce(nextSignal(number));
        time.runPosted();
    }
    const Reader reader(file);
    for (auto _ : state) {
        const auto signal = nextSignal(number);
        const auto start = std::chrono::steady_clock::now();
        machine.away().announce(signal);
        time.runPosted();
        reader.wait();
        report(state, start);
    }
}
BENCHMARK(eventUntilItIsRead)
    ->Arg(0)
    ->Arg(1000)
    ->Arg(10000)
    ->Iterations(200)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

void bareUpsertUntilItIsRead(benchmark::State& state) {
    const auto file = freshFile("velmoran-away-bare");
    AwayWatch watch;
    watch.begin({0}, true);
    int number = 0;
    const auto payload = [&] {
        watch.record(AwayEventKind::devicePluggedIn, nextSignal(number).name, {1});
        return encode(*watch.current);
    };
    while (number < state.range(0)) {
        watch.record(AwayEventKind::devicePluggedIn, nextSignal(number).name, {1});
    }
    { const HistoryStore makesTheTable(file); }
    sqlite3* handle = nullptr;
    sqlite3_stmt* put = nullptr;
    check(sqlite3_open(file.c_str(), &handle));
    check(sqlite3_exec(handle, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr));
    check(sqlite3_prepare_v2(handle,
                             "INSERT INTO AwayReportRecord (id, start, payload) "
                             "VALUES ('one', 0, ?1) "
                             "ON CONFLICT (id) DO UPDATE SET payload = excluded.payload",
                             -1, &put, nullptr));
    const auto upsert = [&](const std::string& text) {
        check(sqlite3_bind_blob(put, 1, text.data(), static_cast<int>(text.size()),
                                SQLITE_TRANSIENT));
        check(sqlite3_step(put), SQLITE_DONE);
        check(sqlite3_reset(put));
    };
    upsert(payload());
    {
        const Reader reader(file);
        for (auto _ : state) {
            const auto text = payload();
            const auto start = std::chrono::steady_clock::now();
            upsert(text);
            reader.wait();
            report(state, start);
        }
    }
    sqlite3_finalize(put);
    sqlite3_close(handle);
}
BENCHMARK(bareUpsertUntilItIsRead)
    ->Arg(0)
    ->Arg(1000)
    ->Arg(10000)
    ->Iterations(200)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace velmoran
