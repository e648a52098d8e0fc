// What the History window costs with 100,000 sessions of the last 90 days: its first frame, a
// change of its filters, its 90-day chart, and a use that begins while it is open. Beside each,
// in the same run, the time in which SQLite alone reads the same rows from the same file.
#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "app/qtbase/QtEventLoop.h"
#include "app/screens/HistoryScreen.h"
#include "benchmarks/Frames.h"
#include "system/scripted/ScriptedMachine.h"

#include <QApplication>
#include <QComboBox>
#include <QTemporaryDir>
#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace velmoran;

constexpr int sessions = 100'000;
constexpr int rounds = 15;

void check(int result) {
    if (result != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errstr(result));
    }
}

class Bare {
public:
    explicit Bare(const std::string& file) { check(sqlite3_open(file.c_str(), &handle_)); }
    ~Bare() { sqlite3_close(handle_); }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    void run(const std::string& sql) const {
        check(sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr));
    }
    /// Every column of every row, as text. Gives the number of bytes.
    std::size_t readAll(const std::string& sql) const {
        sqlite3_stmt* statement = nullptr;
        check(sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr));
        std::size_t bytes = 0;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                sqlite3_column_text(statement, column);
                bytes += static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
            }
        }
        check(sqlite3_finalize(statement));
        return bytes;
    }

private:
    sqlite3* handle_ = nullptr;
};

/// Spread over the 90 days before `now`; every fifth is a pair of camera and microphone.
void fill(const std::string& file, Timestamp now) {
    HistoryStore{std::filesystem::path(file)}; // makes the tables
    const auto first = now.seconds - 89.0 * 86400;
    Bare(file).run(fmt::format(
        R"(WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < {0})
           INSERT INTO SessionRecord SELECT
               printf('%08X-0000-4000-8000-%012X', (i * 2654435761) % 4294967296, i),
               CASE i % 3 WHEN 0 THEN 'camera' WHEN 1 THEN 'microphone' ELSE 'speaker' END,
               'org.example.application' || (i % 20), 'Application ' || (i % 20),
               'org.example.application' || (i % 20), '/usr/bin/application' || (i % 20), 'system',
               {1} + i * 76.8, {1} + i * 76.8 + 45, 'endedNormally', 'standard', NULL, 1
           FROM n)",
        sessions, first));
}

struct Figure {
    std::string name;
    std::vector<double> ours = {};
    std::vector<double> theirs = {};
};

std::string middleAndWorst(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return fmt::format("{:8.1f} {:8.1f}", times[times.size() / 2], times.back());
}

/// The person's choice, up to the frame that shows it.
double chosen(HistoryScreen& screen, const char* picker, int index) {
    auto* box = screen.findChild<QComboBox*>(QLatin1String(picker));
    return milliseconds([&] {
        box->setCurrentIndex(index);
        box->activated(index);
        screen.repaint();
        QApplication::processEvents();
    });
}

} // namespace

int main(int argc, char** argv) {
    const QApplication app(argc, argv);
    const QTemporaryDir folder;
    const auto file = folder.filePath("History.store").toStdString();
    QtEventLoop time;
    fill(file, time.now());
    const auto read = [&file](const std::string& where) {
        return milliseconds([&] {
            if (Bare(file).readAll("SELECT * FROM SessionRecord " + where +
                                   " ORDER BY start DESC") == 0) {
                throw std::runtime_error("nothing was read");
            }
        });
    };

    ScriptedMachine machine;
    MemorySettings settings;
    AppModel model({machine, time, time, settings, [&] {
                        return std::make_shared<HistoryStore>(std::filesystem::path(file));
                    }});
    model.start();
    model.receive({});

    Figure opening{"first frame"};
    Figure all{"all days"};
    Figure oneApp{"one app, all days"};
    Figure chart{"90-day chart"};
    Figure change{"a use begins, all days"};
    for (int round = 0; round < rounds; ++round) {
        std::unique_ptr<HistoryScreen> screen;
        const ScreenContext context{.model = model,
                                    .scheduler = time,
                                    .picture = [](const AppIdentity&) { return QIcon(); },
                                    .actions = {}};
        opening.ours.push_back(milliseconds([&] {
            screen = std::make_unique<HistoryScreen>(context);
            const Painted painted(screen->rows().list().viewport());
            screen->show();
            painted.wait();
        }));
        opening.theirs.push_back(read(""));
        all.ours.push_back(chosen(*screen, "daysFilter", 3));
        all.theirs.push_back(read(""));
        oneApp.ours.push_back(chosen(*screen, "appFilter", 5));
        oneApp.theirs.push_back(read("WHERE appID = 'org.example.application5'"));
        chosen(*screen, "appFilter", 0);

        change.ours.push_back(milliseconds([&] {
            SystemSnapshot reading;
            reading.cameraOn = round % 2 == 0;
            reading.cameraDevices = {"Camera"};
            if (reading.cameraOn) {
                reading.cameraApps = {{.name = "Call", .bundleID = "org.example.call", .path = {}}};
            }
            model.receive(reading);
            QApplication::processEvents();
            screen->repaint();
        }));
        change.theirs.push_back(read(""));

        screen->findChild<QAbstractButton*>("chartButton")->click();
        auto& plot = screen->chart().plot();
        const auto& segments =
            screen->findChild<QWidget*>("span")->findChildren<QAbstractButton*>();
        chart.ours.push_back(milliseconds([&] {
            segments.back()->click();
            plot.repaint();
        }));
        if (plot.content().days.size() != 90 || plot.content().isEmpty()) {
            throw std::runtime_error("no chart of 90 days");
        }
        chart.theirs.push_back(read(""));
    }
    fmt::print("{:>24} {:>17} {:>17}\n{:>24} {:>8} {:>8} {:>8} {:>8}\n", "milliseconds", "ours",
               "SQLite alone", "", "median", "worst", "median", "worst");
    for (const auto& each : {opening, all, oneApp, change, chart}) {
        fmt::print("{:>24} {} {}\n", each.name, middleAndWorst(each.ours),
                   middleAndWorst(each.theirs));
    }
    return 0;
}
