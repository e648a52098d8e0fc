// What the tests of the history share: sessions with every field, a file in a folder of its own,
// and a second connection to it that doesn't go through the store.
#pragma once

#include "core/history/HistoryStore.h"
#include "support/TemporaryDirectory.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <fmt/format.h>
#include <iterator>
#include <string>
#include <vector>

namespace velmoran {

/// An id that is the same in every run.
inline Uuid idNumber(unsigned number) {
    return *Uuid::parse(fmt::format("{:08X}-0000-4000-8000-000000000000", number));
}

/// Open, on the camera, by an app with a name of its own.
inline UsageSession sessionNumber(unsigned number, double start) {
    return {.id = idNumber(number),
            .device = Device::camera,
            .app = {.id = fmt::format("org.example.app{}", number),
                    .name = fmt::format("App {}", number),
                    .bundleID = {},
                    .path = {},
                    .teamID = {}},
            .start = {start},
            .end = {},
            .outcome = {},
            .warningLevel = {},
            .connections = {},
            .observedFromStart = true};
}

inline UsageSession endedSession(unsigned number, double start, double end) {
    auto session = sessionNumber(number, start);
    session.end = Timestamp{end};
    session.outcome = SessionOutcome::endedNormally;
    return session;
}

/// No field at its default.
inline UsageSession fullSession(unsigned number, double start) {
    return {.id = idNumber(number),
            .device = Device::speaker,
            .app = {.id = "org.example.meet",
                    .name = "Mäet \"quoted\"",
                    .bundleID = "org.example.meet",
                    .path = "/usr/bin/meet",
                    .teamID = "TEAM"},
            .start = {start},
            .end = Timestamp{start + 61.25},
            .outcome = SessionOutcome::stoppedByUser,
            .warningLevel = WarningLevel::strong,
            .connections = {{"192.0.2.1", 443, "TCP", Timestamp{start + 1}},
                            {"2001:db8::1", 3478, "UDP", {}}},
            .observedFromStart = true};
}

class HistoryFile {
public:
    std::filesystem::path path() const { return folder_.path("Velmoran/History.store"); }
    HistoryStore open() const { return HistoryStore(path()); }

    /// Runs SQL on the file by a connection of its own.
    void execute(const std::string& sql) const { connection().exec(sql); }
    SQLite::Database connection() const { return {path().string(), SQLite::OPEN_READWRITE, 1000}; }
    /// The first column of the first row as text; "null" for null.
    std::string value(const std::string& sql) const {
        auto database = connection();
        SQLite::Statement query(database, sql);
        if (!query.executeStep()) {
            return "no row";
        }
        return query.getColumn(0).isNull() ? "null" : query.getColumn(0).getString();
    }
    /// What a program that starts now would read.
    std::vector<UsageSession> freshRead() const { return HistoryStore(path()).sessions(); }

    /// The file alone, without what only its log holds.
    std::string bytes() const {
        std::ifstream stream(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    /// Puts another file in its place; no store may have it open.
    void replace(const std::string& content) const {
        for (const auto* suffix : {"-wal", "-shm", "-journal"}) {
            std::filesystem::remove(path().string() + suffix);
        }
        std::ofstream(path(), std::ios::binary | std::ios::trunc) << content;
    }

private:
    TemporaryDirectory folder_;
};

/// Holds the write lock, as a busy backup program would.
class WriteLock {
public:
    explicit WriteLock(const HistoryFile& file) : connection_(file.connection()) {
        connection_.exec("BEGIN IMMEDIATE");
    }
    ~WriteLock() { connection_.exec("ROLLBACK"); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

private:
    SQLite::Database connection_;
};

} // namespace velmoran
