#include "core/history/HistoryStore.h"

#include "core/history/ConnectionsText.h"
#include "core/history/OpenHistory.h"
#include "core/history/SessionRecord.h"
#include "core/history/StatementRun.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
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

HistoryStore::HistoryStore(const std::optional<std::filesystem::path>& url,
                           std::function<void()> beforeReopening)
    : url_(url),
      beforeReopening_(std::move(beforeReopening)),
      open_(std::make_unique<OpenHistory>(url)),
      nextPendingRow_(firstPendingRow) {}

HistoryStore::~HistoryStore() = default;

void HistoryStore::onFileChange(std::function<void(FileChange)> callback) {
    onFileChange_ = std::move(callback);
}

// MARK: - Sessions

void HistoryStore::saveSession(const UsageSession& session) {
    if (std::isnan(session.start.seconds)) {
        return;
    }
    auto found = std::ranges::find(pending_, session.id,
                                   [](const Pending& each) { return each.session.id; });
    if (found == pending_.end()) {
        found = pending_.emplace(pending_.end());
    }
    std::erase_if(ongoing_, [&](const UsageSession& each) { return each.id == session.id; });
    if (isOpen(session)) {
        ongoing_.push_back(session);
    }
    found->session = session;
    found->connections = connectionsText(session.connections);
    inTransaction([] {});
}

HistoryView HistoryStore::history() {
    heedOtherWriters();
    if (!isLoaded_ && !isDamaged_) {
        load();
    }
    return list_;
}

std::vector<UsageSession> HistoryStore::sessions(std::optional<Timestamp> since,
                                                 std::optional<std::size_t> limit) {
    std::vector<UsageSession> result;
    for (const auto& session : history()) {
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
    inTransaction([this] { open_->sessions.closeOpen(); });
    isLoaded_ = false;
}

std::size_t HistoryStore::sessionCount() {
    try {
        return open_ ? open_->sessions.count() : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

// MARK: - Away reports

void HistoryStore::saveAwayPayload(const Uuid& id, Timestamp start, std::optional<Timestamp> end,
                                   const std::string& payload) {
    const auto key = id.text();
    inTransaction([&] {
        StatementRun put(open_->putReport);
        put.bind(1, key).bind(2, start).bind(3, end).bindBlob(4, payload).step();
    });
    payloads_ = nullptr;
}

void HistoryStore::deleteAwayReport(const Uuid& id) {
    const auto key = id.text();
    inTransaction([&] { StatementRun(open_->deleteReport).bind(1, key).step(); });
    payloads_ = nullptr;
}

std::shared_ptr<const std::vector<std::string>> HistoryStore::awayPayloads() {
    heedOtherWriters();
    if (payloads_) {
        return payloads_;
    }
    auto texts = std::make_shared<std::vector<std::string>>();
    if (!open_) {
        return texts;
    }
    try {
        StatementRun query(open_->allReports);
        while (query.step()) {
            texts->push_back(query.column(0).getString());
        }
    } catch (const std::exception&) {
        return std::make_shared<const std::vector<std::string>>(); // tried again next time
    }
    payloads_ = std::move(texts);
    return payloads_;
}

// MARK: - Deletions

void HistoryStore::prune(Timestamp before) {
    std::optional<int> deletedSessions;
    std::optional<int> deletedReports;
    const bool done = inTransaction([&] {
        deletedSessions = tryRun(open_->pruneSessions, before);
        deletedReports = tryRun(open_->pruneReports, before);
    });
    if (!done) {
        return;
    }
    if (deletedSessions > 0) {
        list_ = list_.withoutStartsBefore(before);
        isDamaged_ = false;
    }
    if (deletedReports > 0) {
        payloads_ = nullptr;
    }
    if (deletedSessions > 0 || deletedReports > 0) {
        open_->database.checkpoint();
    }
}

void HistoryStore::deleteAll() {
    std::optional<int> deletedSessions;
    std::optional<int> deletedReports;
    const bool done = inTransaction([&] {
        deletedSessions = tryRun(open_->deleteSessions);
        deletedReports = tryRun(open_->deleteReports);
    });
    if (!done) {
        return;
    }
    if (deletedSessions) {
        list_ = {};
        isLoaded_ = true;
        isDamaged_ = false;
    }
    if (deletedReports) {
        payloads_ = nullptr;
    }
    open_->database.checkpoint();
}

/// The number of changed rows; nothing if the statement failed and left the transaction alive.
template <class... Arguments>
std::optional<int> HistoryStore::tryRun(SQLite::Statement& deletion, Arguments... arguments) {
    try {
        StatementRun run(deletion);
        (run.bind(1, arguments), ...);
        run.step();
        return open_->sqlite().getChanges();
    } catch (const SQLite::Exception&) {
        if (!open_->isInTransaction()) {
            throw;
        }
        return std::nullopt;
    }
}

// MARK: - The file

/// Writes what is pending and does the work, then brings the list up to date. True when the
/// work is in the file.
template <class Work>
bool HistoryStore::inTransaction(Work work) {
    heedFile();
    if (!open_) {
        showPending();
        return false;
    }
    std::vector<Written> written;
    std::vector<Pending> failed;
    bool needsReading = false; // places of what was shown before it had a row have changed
    try {
        StatementRun(open_->begin).step();
        if (needsRepair_) {
            open_->sessions.closeOpen();
        }
        for (const auto& each : pending_) {
            try {
                written.push_back(write(each));
                needsReading |= each.isShown;
            } catch (const SQLite::Exception& error) {
                if (!open_->isInTransaction()) {
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
        StatementRun(open_->commit).step();
    } catch (const std::exception&) {
        if (open_->isInTransaction()) {
            open_->sqlite().tryExec("ROLLBACK");
        }
        showPending();
        return false;
    }
    pending_ = std::move(failed);
    const bool wasRepaired = std::exchange(needsRepair_, false);
    isLoaded_ &= !needsReading && !wasRepaired;
    if (isLoaded_) {
        for (auto& each : written) {
            apply(std::move(each));
        }
        showPending();
    }
    return true;
}

/// Where the file isn't the one any more that was opened, another one is opened in its place,
/// made if there is none. What goes on has to be found in that one, too.
void HistoryStore::heedFile() {
    if (open_) {
        if (!open_->database.isGone()) {
            return;
        }
        open_->database.leaveSideFiles();
        open_.reset();
    }
    try {
        if (beforeReopening_) {
            beforeReopening_();
        }
        open_ = std::make_unique<OpenHistory>(url_);
    } catch (const std::exception&) {
        if (!std::exchange(isLost_, true) && onFileChange_) {
            onFileChange_(FileChange::lost);
        }
        return;
    }
    isLost_ = false;
    needsRepair_ = true;
    list_ = {};
    isLoaded_ = false;
    isDamaged_ = false;
    payloads_ = nullptr;
    lastDataVersion_ = -1;
    std::vector<Pending> unwritten;
    for (const auto& session : ongoing_) {
        if (std::ranges::none_of(
                pending_, [&](const Pending& each) { return each.session.id == session.id; })) {
            unwritten.push_back({session, connectionsText(session.connections)});
        }
    }
    pending_.insert(pending_.begin(), unwritten.begin(), unwritten.end());
    if (onFileChange_) {
        onFileChange_(FileChange::replaced);
    }
}

HistoryStore::Written HistoryStore::write(const Pending& pending) {
    const auto& session = pending.session;
    const std::string key = session.id.text();
    Written written;
    try {
        written.old = open_->sessions.find(key);
    } catch (const SQLite::Exception&) {
        written.isKnown = false;
    }
    open_->sessions.put(session, key, pending.connections);
    const auto row = written.old ? written.old->row : open_->sqlite().getLastInsertRowid();
    written.entry = {{session.start, row},
                     std::make_shared<const UsageSession>(asStored(session, pending.connections))};
    return written;
}

void HistoryStore::apply(Written written) {
    if (!written.isKnown) {
        isLoaded_ = false;
        return;
    }
    const bool moves = written.old && written.old->start != written.entry.place.start;
    list_ = (moves ? list_.without(*written.old) : list_).with(std::move(written.entry));
}

void HistoryStore::load() {
    list_ = {};
    if (!open_) {
        isLoaded_ = true;
        showPending();
        return;
    }
    try {
        list_ = HistoryView::sorted(open_->sessions.readAll());
    } catch (const SQLite::Exception& error) {
        isDamaged_ = isDamage(error); // reading it all again at each event wouldn't help
        return;
    }
    isLoaded_ = true;
    showPending();
}

/// Shows sessions that aren't in the file yet as if they were.
void HistoryStore::showPending() {
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
void HistoryStore::heedOtherWriters() {
    if (!open_) {
        return;
    }
    try {
        StatementRun query(open_->dataVersion);
        const auto version = query.step() ? query.column(0).getInt64() : 0;
        if (version != std::exchange(lastDataVersion_, version)) {
            isLoaded_ = false;
            isDamaged_ = false;
            payloads_ = nullptr;
        }
    } catch (const SQLite::Exception&) {
        return;
    }
}

} // namespace velmoran
