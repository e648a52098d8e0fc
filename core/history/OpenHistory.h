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
    explicit OpenHistory(const std::optional<std::filesystem::path>& url) : database(url) {}

    SQLite::Database& connection() { return database.connection(); }
    bool isInTransaction() { return sqlite3_get_autocommit(connection().getHandle()) == 0; }

    HistoryDatabase database;
    SQLite::Statement begin{database.connection(), "BEGIN IMMEDIATE"};
    SQLite::Statement commit{database.connection(), "COMMIT"};
    SQLite::Statement dataVersion{database.connection(), "PRAGMA data_version"};
    SessionTable sessions{database.connection()};
    SQLite::Statement pruneSessions{database.connection(),
                                    "DELETE FROM SessionRecord WHERE start < ?"};
    SQLite::Statement pruneReports{database.connection(),
                                   "DELETE FROM AwayReportRecord WHERE start < ?"};
    SQLite::Statement deleteSessions{database.connection(), "DELETE FROM SessionRecord"};
    SQLite::Statement deleteReports{database.connection(), "DELETE FROM AwayReportRecord"};
    SQLite::Statement putReport{
        database.connection(),
        "INSERT INTO AwayReportRecord (id, start, end, payload) VALUES (?1, ?2, ?3, ?4) "
        "ON CONFLICT (id) DO UPDATE SET end = ?3, payload = ?4"};
    SQLite::Statement deleteReport{database.connection(),
                                   "DELETE FROM AwayReportRecord WHERE id = ?"};
    SQLite::Statement allReports{database.connection(),
                                 "SELECT payload FROM AwayReportRecord ORDER BY start DESC, rowid"};
};

} // namespace velmoran
