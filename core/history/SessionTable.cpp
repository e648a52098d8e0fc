#include "core/history/SessionTable.h"

#include "core/history/SessionRecord.h"
#include "core/history/SessionRow.h"
#include "core/history/StatementRun.h"

#include <memory>
#include <sqlite3.h>
#include <string_view>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* upsertSession = R"(
INSERT INTO SessionRecord (id, deviceRaw, appID, appName, bundleID, appPath, teamID, start, end,
                           outcomeRaw, levelRaw, connectionsData, observedFromStart)
VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13)
ON CONFLICT (id) DO UPDATE SET
    deviceRaw = ?2, appID = ?3, appName = ?4, bundleID = ?5, appPath = ?6, teamID = ?7,
    start = ?8, end = ?9, outcomeRaw = ?10, levelRaw = ?11,
    connectionsData = iif(?14, connectionsData, ?12), observedFromStart = ?13
)";

constexpr const char* allSessions = R"(
SELECT rowid, id, deviceRaw, appID, appName, bundleID, appPath, teamID, start, end, outcomeRaw,
       levelRaw, connectionsData, observedFromStart
FROM SessionRecord NOT INDEXED
)";

constexpr const char* closeSessions =
    "UPDATE SessionRecord SET outcomeRaw = 'endUnknown' WHERE end IS NULL AND outcomeRaw IS NULL";

template <class Enum>
std::optional<std::string_view> rawValueOf(std::optional<Enum> value) {
    return value ? std::optional(rawValue(*value)) : std::nullopt;
}

} // namespace

SessionTable::SessionTable(SQLite::Database& sqlite)
    : sqlite_(sqlite),
      find_(sqlite, "SELECT rowid, start FROM SessionRecord WHERE id = ?"),
      put_(sqlite, upsertSession),
      close_(sqlite, closeSessions),
      count_(sqlite, "SELECT count(*) FROM SessionRecord") {}

std::optional<HistoryView::Place> SessionTable::find(const std::string& id) {
    StatementRun query(find_);
    if (!query.bind(1, id).step()) {
        return std::nullopt;
    }
    return HistoryView::Place{{query.column(1).getDouble()}, query.column(0).getInt64()};
}

void SessionTable::put(const UsageSession& session, const std::string& id,
                       const std::optional<std::string>& connectionsData, bool keepsConnections) {
    StatementRun upsert(put_);
    upsert.bind(1, id)
        .bind(2, rawValue(session.device))
        .bind(3, session.app.id)
        .bind(4, session.app.name)
        .bind(5, bundleIDColumn(session.app))
        .bind(6, session.app.path)
        .bind(7, session.app.teamID)
        .bind(8, session.start)
        .bind(9, session.end)
        .bind(10, rawValueOf(session.outcome))
        .bind(11, rawValueOf(session.warningLevel))
        .bindBlob(12, connectionsData)
        .bind(13, session.observedFromStart)
        .bind(14, keepsConnections)
        .step();
    if (sqlite_.getChanges() == 0) { // of which the library says nothing
        throw SQLite::Exception("a trigger keeps the row out", SQLITE_CONSTRAINT_TRIGGER);
    }
}

void SessionTable::closeOpen() {
    StatementRun(close_).step();
}

std::size_t SessionTable::count() {
    StatementRun query(count_);
    return query.step() ? static_cast<std::size_t>(query.column(0).getInt64()) : 0;
}

std::vector<HistoryView::Entry> SessionTable::readAll() {
    // Not by the library's wrapper: it counts references for each column, and there can be
    // millions.
    sqlite3_stmt* statement = nullptr;
    sqlite_.check(sqlite3_prepare_v2(sqlite_.getHandle(), allSessions, -1, &statement, nullptr));
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> owner(statement, sqlite3_finalize);

    std::vector<HistoryView::Entry> entries;
    int result = sqlite3_step(statement);
    for (; result == SQLITE_ROW; result = sqlite3_step(statement)) {
        if (auto session = sessionFrom(recordAt(statement, 1))) {
            const HistoryView::Place place{session->start, sqlite3_column_int64(statement, 0)};
            entries.push_back({place, std::make_shared<const UsageSession>(*std::move(session))});
        }
    }
    if (result != SQLITE_DONE) {
        sqlite_.check(result);
    }
    return entries;
}

} // namespace velmoran
