#include "core/history/HistoryStore.h"

#include "core/history/ConnectionsText.h"
#include "core/history/HistoryDatabase.h"
#include "core/history/Run.h"
#include "core/history/SessionRecord.h"
#include "core/history/SessionTable.h"

#include <algorithm>
#include <cmath>
#include <sqlite3.h>
#include <utility>

namespace velmoran {

namespace {

// A session that is stored for the first time while the file can't be written stands behind all
// others with the same start until it has a row.
constexpr std::int64_t firstPendingRow = std::int64_t{1} << 62U;

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
        found->session = session;
        found->connections = connectionsText(session.connections);
        inTransaction([] {});
    }

    HistoryView list() {
        heedOtherWriters();
        if (!isLoaded_ && !isDamaged_) {
            load();
        }
        return list_;
    }

    void closeOpen() {
        inTransaction([this] { sessions_.closeOpen(); });
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
            return sessions_.count();
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
        bool isShown = false;                   ///< stands in the list though not in the file
    };

    struct Written {
        std::optional<HistoryView::Place> old; ///< where the row was, if there was one
        HistoryView::Entry entry;
        bool isKnown = true; ///< false if `old` couldn't be read
    };

    /// Writes what is pending and does the work, then brings the list up to date. True when the
    /// work is in the file.
    template <class Work>
    bool inTransaction(Work work) {
        std::vector<Written> written;
        std::vector<Pending> failed;
        bool needsReading = false; // places of what was shown before it had a row have changed
        try {
            run(begin_);
            for (const auto& each : pending_) {
                try {
                    written.push_back(write(each));
                    needsReading |= each.isShown;
                } catch (const SQLite::Exception& error) {
                    if (!isInTransaction()) {
                        throw;
                    }
                    if (isRefusal(error)) {
                        needsReading |= each.isShown;
                    } else {
                        failed.push_back(each); // mustn't keep the others out of the file
                    }
                }
            }
            work();
            run(commit_);
        } catch (const std::exception&) {
            if (isInTransaction()) {
                database_.connection().tryExec("ROLLBACK");
            }
            showPending();
            return false;
        }
        pending_ = std::move(failed);
        isLoaded_ &= !needsReading;
        if (isLoaded_) {
            for (auto& each : written) {
                take(std::move(each));
            }
            showPending();
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

    Written write(const Pending& pending) {
        const auto& session = pending.session;
        const std::string key = session.id.text();
        Written written;
        try {
            written.old = sessions_.find(key);
        } catch (const SQLite::Exception&) {
            written.isKnown = false;
        }
        sessions_.put(session, key, pending.connections);
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
        list_ = {};
        try {
            list_ = HistoryView::sorted(sessions_.readAll());
        } catch (const SQLite::Exception& error) {
            isDamaged_ = isDamage(error); // reading it all again at each event wouldn't help
            return;
        }
        isLoaded_ = true;
        showPending();
    }

    /// Shows sessions that aren't in the file yet as if they were.
    void showPending() {
        if (!isLoaded_) {
            return;
        }
        for (auto& each : pending_) {
            const auto old = list_.placeOf(each.session.id);
            if (old) {
                list_ = list_.without(*old);
            }
            list_ = list_.with(
                {{each.session.start, old ? old->row : nextPendingRow_++},
                 std::make_shared<const UsageSession>(asStored(each.session, each.connections))});
            each.isShown = true;
        }
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
    SessionTable sessions_{database_.connection()};
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
