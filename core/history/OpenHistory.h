// The history's database while it is open: the connection, and the statements prepared on it. Owned
// by HistoryStore, which makes another one when the file has gone; main thread only.
#pragma once

#include "core/history/HistoryDatabase.h"
#include "core/history/SessionTable.h"

#include <SQLiteCpp/Statement.h>
#include <filesystem>
#include <optional>
#include <sqlite3.h>

namespace velmoran {

/// Private to core/history.
struct OpenHistory {
    /// As the constructor of HistoryStore says.
    OpenHistory(const std::optional<std::filesystem::path>& url, HistoryDatabase::Locks locks)
        : database(url, locks) {}

    SQLite::Database& sqlite() { return database.sqlite(); }
    bool isInTransaction() { return sqlite3_get_autocommit(sqlite().getHandle()) == 0; }

    HistoryDatabase database;
    SQLite::Statement begin{database.sqlite(), "BEGIN IMMEDIATE"};
    SQLite::Statement commit{database.sqlite(), "COMMIT"};
    SQLite::Statement dataVersion{database.sqlite(), "PRAGMA data_version"};
    SessionTable sessions{database.sqlite()};
    SQLite::Statement pruneSessions{database.sqlite(), "DELETE FROM SessionRecord WHERE start < ?"};
    SQLite::Statement pruneReports{database.sqlite(),
                                   "DELETE FROM AwayReportRecord WHERE start < ?"};
    SQLite::Statement deleteSessions{database.sqlite(), "DELETE FROM SessionRecord"};
    SQLite::Statement deleteReports{database.sqlite(), "DELETE FROM AwayReportRecord"};
    SQLite::Statement putReport{
        database.sqlite(),
        "INSERT INTO AwayReportRecord (id, start, end, payload) VALUES (?1, ?2, ?3, ?4) "
        "ON CONFLICT (id) DO UPDATE SET end = ?3, payload = ?4"};
    SQLite::Statement deleteReport{database.sqlite(), "DELETE FROM AwayReportRecord WHERE id = ?"};
    SQLite::Statement allReports{database.sqlite(),
                                 "SELECT payload FROM AwayReportRecord "
                                 "WHERE ?1 IS NULL OR NOT start < ?1 ORDER BY start DESC, rowid"};
};

} // namespace velmoran
