#include "core/history/HistoryStore.h"

#include "core/history/ConnectionsText.h"
#include "core/history/HistoryDatabase.h"
#include "core/history/Run.h"
#include "core/history/SessionRecord.h"

#include <algorithm>
#include <cmath>
#include <sqlite3.h>
#include <string_view>
#include <utility>

namespace velmoran {

namespace {

// A session that is stored for the first time while the file can't be written stands behind all
// others with the same start until it has a row.
constexpr std::int64_t firstPendingRow = std::int64_t{1} << 62U;

constexpr const char* upsertSession = R"(
INSERT INTO SessionRecord (id, deviceRaw, appID, appName, bundleID, appPath, teamID, start, end,
                           outcomeRaw, levelRaw, connectionsData, observedFromStart)
VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13)
ON CONFLICT (id) DO UPDATE SET
    deviceRaw = ?2, appID = ?3, appName = ?4, bundleID = ?5, appPath = ?6, teamID = ?7,
    start = ?8, end = ?9, outcomeRaw = ?10, levelRaw = ?11, connectionsData = ?12,
    observedFromStart = ?13
)";

constexpr const char* allSessions = R"(
SELECT rowid, id, deviceRaw, appID, appName, bundleID, appPath, teamID, start, end, outcomeRaw,
       levelRaw, connectionsData, observedFromStart
FROM SessionRecord NOT INDEXED
)";

constexpr const char* closeSessions =
    "UPDATE SessionRecord SET outcomeRaw = 'endUnknown' WHERE end IS NULL AND outcomeRaw IS NULL";

/// The database won't ever take it, so there is no sense in trying again.
bool isRefusal(const SQLite::Exception& error) {
    const int code = error.getErrorCode() & 0xFF;
    return code == SQLITE_CONSTRAINT || code == SQLITE_TOOBIG || code == SQLITE_MISMATCH;
}

bool isDamage(const SQLite::Exception& error) {
    const int code = error.getErrorCode() & 0xFF;
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

bool isOpen(const UsageSession& session) {
    return !session.end && !session.outcome;
}

template <class Enum>
std::optional<std::string_view> rawValueOf(std::optional<Enum> value) {
    return value ? std::optional(rawValue(*value)) : std::nullopt;
}

Column columnOf(sqlite3_stmt* statement, int index) {
    Column column;
    switch (sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER:
        column.kind = Column::Kind::integer;
        column.integer = sqlite3_column_int64(statement, index);
        return column;
    case SQLITE_FLOAT:
        column.kind = Column::Kind::real;
        column.real = sqlite3_column_double(statement, index);
        return column;
    case SQLITE_TEXT:
        column.kind = Column::Kind::text;
        break;
    case SQLITE_BLOB:
        column.kind = Column::Kind::blob;
        break;
    default:
        return column;
    }
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
    const auto count = static_cast<std::size_t>(sqlite3_column_bytes(statement, index));
    if (bytes != nullptr) {
        column.bytes = {bytes, count};
    }
    return column;
}

} // namespace

class HistoryStore::Implementation {
public:
    explicit Implementation(const std::optional<std::filesystem::path>& url) : database_(url) {}

    void save(const UsageSession& session) {
        if (std::isnan(session.start.seconds)) {
            return;
        }
        auto found = std::ranges::find(pending_, session.id,
                                       [](const Pending& each) { return each.session.id; });
        if (found == pending_.end()) {
            found = pending_.emplace(pending_.end());
        }
        *found = {session, connectionsText(session.connections)};
        if (!inTransaction([] {}) && isLoaded_) {
            overlay(*found);
        }
    }

    HistoryView list() {
        heedOtherWriters();
        if (!isLoaded_ && !isDamaged_) {
            load();
        }
        return list_;
    }

    void closeOpen() {
        inTransaction([this] { run(close_); });
        isLoaded_ = false;
    }

    void prune(Timestamp before) {
        int sessionsGone = -1;
        int reportsGone = -1;
        const bool done = inTransaction([&] {
            sessionsGone = tryRun(pruneSessions_, before);
            reportsGone = tryRun(pruneReports_, before);
        });
        if (!done) {
            return;
        }
        if (sessionsGone > 0) {
            list_ = list_.withoutStartsBefore(before);
            isDamaged_ = false;
        }
        if (reportsGone > 0) {
            payloads_ = nullptr;
        }
        if (sessionsGone > 0 || reportsGone > 0) {
            database_.emptyLog();
        }
    }

    void deleteAll() {
        int sessionsGone = -1;
        int reportsGone = -1;
        const bool done = inTransaction([&] {
            sessionsGone = tryRun(deleteSessions_);
            reportsGone = tryRun(deleteReports_);
        });
        if (!done) {
            return;
        }
        if (sessionsGone >= 0) {
            list_ = {};
            isLoaded_ = true;
            isDamaged_ = false;
        }
        if (reportsGone >= 0) {
            payloads_ = nullptr;
        }
        database_.emptyLog();
    }

    std::size_t count() {
        try {
            Run query(count_);
            return query.step() ? static_cast<std::size_t>(query.column(0).getInt64()) : 0;
        } catch (const std::exception&) {
            return 0;
        }
    }

    void saveReport(const Uuid& id, Timestamp start, std::optional<Timestamp> end,
                    const std::string& payload) {
        inTransaction([&] {
            const std::string key = id.text();
            bool exists = false;
            {
                Run query(findReport_);
                exists = query.bind(1, key).step();
            }
            if (exists) {
                Run update(updateReport_);
                update.bind(1, key).bind(2, end).bindBlob(3, payload).step();
            } else {
                Run insert(insertReport_);
                insert.bind(1, key).bind(2, start).bind(3, end).bindBlob(4, payload).step();
            }
        });
        payloads_ = nullptr;
    }

    void deleteReport(const Uuid& id) {
        inTransaction([&] {
            const std::string key = id.text();
            Run(deleteReport_).bind(1, key).step();
        });
        payloads_ = nullptr;
    }

    std::shared_ptr<const std::vector<std::string>> payloads() {
        heedOtherWriters();
        if (payloads_) {
            return payloads_;
        }
        auto texts = std::make_shared<std::vector<std::string>>();
        try {
            Run query(allReports_);
            while (query.step()) {
                texts->push_back(query.column(0).getString());
            }
        } catch (const std::exception&) {
            return std::make_shared<const std::vector<std::string>>(); // tried again next time
        }
        payloads_ = std::move(texts);
        return payloads_;
    }

private:
    struct Pending {
        UsageSession session;
        std::optional<std::string> connections; ///< its connectionsData
    };

    struct Written {
        std::optional<HistoryView::Place> old; ///< where the row was, if there was one
        HistoryView::Entry entry;
        bool isKnown = true; ///< false if `old` couldn't be read
    };

    /// Writes what is pending and does the work, all or nothing. True when that is in the file.
    template <class Work>
    bool inTransaction(Work work) {
        std::vector<Written> written;
        try {
            run(begin_);
            for (const auto& each : pending_) {
                if (auto done = write(each)) {
                    written.push_back(*std::move(done));
                }
            }
            work();
            run(commit_);
        } catch (const std::exception&) {
            if (isInTransaction()) {
                database_.connection().tryExec("ROLLBACK");
            }
            hasFailed_ = true;
            return false;
        }
        pending_.clear();
        if (std::exchange(hasFailed_, false)) {
            isLoaded_ = false; // places of what was pending have changed
        }
        if (isLoaded_) {
            for (auto& each : written) {
                take(std::move(each));
            }
        }
        return true;
    }

    bool isInTransaction() {
        return sqlite3_get_autocommit(database_.connection().getHandle()) == 0;
    }

    static void run(SQLite::Statement& statement) { Run(statement).step(); }

    /// The number of changed rows, or -1 if the statement failed and left the transaction alive.
    template <class... Arguments>
    int tryRun(SQLite::Statement& statement, Arguments... arguments) {
        try {
            Run deletion(statement);
            (deletion.bind(1, arguments), ...);
            deletion.step();
            return database_.connection().getChanges();
        } catch (const SQLite::Exception&) {
            if (!isInTransaction()) {
                throw;
            }
            return -1;
        }
    }

    /// Nothing if the database refuses this session for good.
    std::optional<Written> write(const Pending& pending) {
        const auto& session = pending.session;
        const std::string key = session.id.text();
        Written written;
        try {
            Run query(findSession_);
            if (query.bind(1, key).step()) {
                written.old =
                    HistoryView::Place{{query.column(1).getDouble()}, query.column(0).getInt64()};
            }
        } catch (const SQLite::Exception&) {
            written.isKnown = false;
        }
        try {
            Run upsert(upsert_);
            upsert.bind(1, key)
                .bind(2, rawValue(session.device))
                .bind(3, session.app.id)
                .bind(4, session.app.name)
                .bind(5, session.app.bundleID)
                .bind(6, session.app.path)
                .bind(7, session.app.teamID)
                .bind(8, session.start)
                .bind(9, session.end)
                .bind(10, rawValueOf(session.outcome))
                .bind(11, rawValueOf(session.warningLevel))
                .bind(13, session.observedFromStart);
            if (pending.connections) {
                upsert.bindBlob(12, *pending.connections);
            } else {
                upsert.bind(12, std::optional<std::string>());
            }
            upsert.step();
        } catch (const SQLite::Exception& error) {
            if (isRefusal(error) && isInTransaction()) {
                return std::nullopt;
            }
            throw;
        }
        const auto row =
            written.old ? written.old->row : database_.connection().getLastInsertRowid();
        written.entry = {
            {session.start, row},
            std::make_shared<const UsageSession>(asStored(session, pending.connections))};
        return written;
    }

    void take(Written written) {
        if (!written.isKnown) {
            isLoaded_ = false;
            return;
        }
        const bool moves = written.old && written.old->start != written.entry.place.start;
        list_ = (moves ? list_.without(*written.old) : list_).with(std::move(written.entry));
    }

    void load() {
        std::vector<HistoryView::Entry> entries;
        list_ = {};
        try {
            read(entries);
        } catch (const SQLite::Exception& error) {
            isDamaged_ = isDamage(error); // reading it all again at each event wouldn't help
            return;
        }
        list_ = HistoryView::sorted(std::move(entries));
        isLoaded_ = true;
        for (const auto& each : pending_) {
            overlay(each);
        }
    }

    void read(std::vector<HistoryView::Entry>& entries) {
        // The library's wrapper counts references for each column; with a million of them it shows.
        sqlite3_stmt* statement = nullptr;
        auto& connection = database_.connection();
        connection.check(
            sqlite3_prepare_v2(connection.getHandle(), allSessions, -1, &statement, nullptr));
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> owner(statement,
                                                                          sqlite3_finalize);
        int result = SQLITE_ROW;
        while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
            int index = 0;
            const auto next = [&] {
                return columnOf(statement, ++index);
            };
            // Braces: evaluated in the order of the columns.
            const SessionRecord record{next(), next(), next(), next(), next(), next(), next(),
                                       next(), next(), next(), next(), next(), next()};
            if (auto session = sessionFrom(record)) {
                const HistoryView::Place place{session->start, sqlite3_column_int64(statement, 0)};
                entries.push_back(
                    {place, std::make_shared<const UsageSession>(*std::move(session))});
            }
        }
        if (result != SQLITE_DONE) {
            connection.check(result);
        }
    }

    /// Shows a session that isn't in the file yet as if it were.
    void overlay(const Pending& pending) {
        const auto old = list_.placeOf(pending.session.id);
        if (old) {
            list_ = list_.without(*old);
        }
        list_ = list_.with(
            {{pending.session.start, old ? old->row : nextPendingRow_++},
             std::make_shared<const UsageSession>(asStored(pending.session, pending.connections))});
    }

    /// The number changes when another connection has written to the file, never by our own writes.
    void heedOtherWriters() {
        try {
            Run query(dataVersion_);
            const auto version = query.step() ? query.column(0).getInt64() : 0;
            if (version != lastDataVersion_) {
                lastDataVersion_ = version;
                isLoaded_ = false;
                isDamaged_ = false;
                payloads_ = nullptr;
            }
        } catch (const SQLite::Exception&) {
            return;
        }
    }

    HistoryDatabase database_;
    SQLite::Statement begin_{database_.connection(), "BEGIN IMMEDIATE"};
    SQLite::Statement commit_{database_.connection(), "COMMIT"};
    SQLite::Statement dataVersion_{database_.connection(), "PRAGMA data_version"};
    SQLite::Statement findSession_{database_.connection(),
                                   "SELECT rowid, start FROM SessionRecord WHERE id = ?"};
    SQLite::Statement upsert_{database_.connection(), upsertSession};
    SQLite::Statement close_{database_.connection(), closeSessions};
    SQLite::Statement count_{database_.connection(), "SELECT count(*) FROM SessionRecord"};
    SQLite::Statement pruneSessions_{database_.connection(),
                                     "DELETE FROM SessionRecord WHERE start < ?"};
    SQLite::Statement pruneReports_{database_.connection(),
                                    "DELETE FROM AwayReportRecord WHERE start < ?"};
    SQLite::Statement deleteSessions_{database_.connection(), "DELETE FROM SessionRecord"};
    SQLite::Statement deleteReports_{database_.connection(), "DELETE FROM AwayReportRecord"};
    SQLite::Statement findReport_{database_.connection(),
                                  "SELECT 1 FROM AwayReportRecord WHERE id = ?"};
    SQLite::Statement updateReport_{
        database_.connection(), "UPDATE AwayReportRecord SET end = ?2, payload = ?3 WHERE id = ?1"};
    SQLite::Statement insertReport_{
        database_.connection(),
        "INSERT INTO AwayReportRecord (id, start, end, payload) VALUES (?1, ?2, ?3, ?4)"};
    SQLite::Statement deleteReport_{database_.connection(),
                                    "DELETE FROM AwayReportRecord WHERE id = ?"};
    SQLite::Statement allReports_{
        database_.connection(), "SELECT payload FROM AwayReportRecord ORDER BY start DESC, rowid"};

    HistoryView list_;
    bool isLoaded_ = false;  ///< `list_` is the file's content with what is pending
    bool isDamaged_ = false; ///< the table can't be read, and trying again won't change that
    bool hasFailed_ = false; ///< a transaction has failed since the last one that didn't
    std::vector<Pending> pending_;
    std::int64_t nextPendingRow_ = firstPendingRow;
    std::int64_t lastDataVersion_ = -1;
    std::shared_ptr<const std::vector<std::string>> payloads_; ///< null when not read yet
};

HistoryStore::HistoryStore(const std::optional<std::filesystem::path>& url)
    : implementation_(std::make_unique<Implementation>(url)) {}

HistoryStore::~HistoryStore() = default;

void HistoryStore::saveSession(const UsageSession& session) {
    implementation_->save(session);
}

HistoryView HistoryStore::history() {
    return implementation_->list();
}

std::vector<UsageSession> HistoryStore::sessions(std::optional<Timestamp> since,
                                                 std::optional<std::size_t> limit) {
    std::vector<UsageSession> result;
    for (const auto& session : implementation_->list()) {
        if (limit && result.size() >= *limit) {
            break;
        }
        if (!since || session.start >= *since || isOpen(session) ||
            session.end.value_or(session.start) >= *since) {
            result.push_back(session);
        }
    }
    return result;
}

void HistoryStore::closeOpenRecords() {
    implementation_->closeOpen();
}

void HistoryStore::prune(Timestamp before) {
    implementation_->prune(before);
}

void HistoryStore::deleteAll() {
    implementation_->deleteAll();
}

std::size_t HistoryStore::sessionCount() {
    return implementation_->count();
}

void HistoryStore::saveAwayPayload(const Uuid& id, Timestamp start, std::optional<Timestamp> end,
                                   const std::string& payload) {
    implementation_->saveReport(id, start, end, payload);
}

std::shared_ptr<const std::vector<std::string>> HistoryStore::awayPayloads() {
    return implementation_->payloads();
}

void HistoryStore::deleteAwayReport(const Uuid& id) {
    implementation_->deleteReport(id);
}

} // namespace velmoran
