#include "core/history/HistoryStore.h"

#include "core/history/OpenHistory.h"
#include "core/history/SessionRecord.h"
#include "core/history/StatementRun.h"

#include <cerrno>
#include <cmath>
#include <memory>
#include <utility>

namespace velmoran {

namespace {

// Of what waits in one write, so that none takes longer than some milliseconds.
constexpr std::size_t rowsAtOnce = 200;
constexpr std::size_t rowsAfterFailure = 20;

bool isOpen(const UsageSession& session) {
    return !session.end && !session.outcome;
}

} // namespace

HistoryStore::HistoryStore(const std::optional<std::filesystem::path>& url,
                           std::function<void()> beforeReopening)
    : url_(url),
      beforeReopening_(std::move(beforeReopening)) {
    try {
        open_ = std::make_unique<OpenHistory>(url_, HistoryDatabase::Locks::waitFor);
        wasOpen_ = true;
    } catch (const std::exception& error) {
        failure_ = HistoryFailure::of(error, HistoryProblem::Kind::notOpened);
        if (!failure_->isLock) {
            throw;
        }
    }
}

HistoryStore::~HistoryStore() = default;

void HistoryStore::onReplaced(std::function<void()> callback) {
    onReplaced_ = std::move(callback);
}

// MARK: - Sessions

void HistoryStore::saveSession(const UsageSession& session) {
    if (std::isnan(session.start.seconds)) {
        return;
    }
    std::erase_if(ongoing_, [&](const UsageSession& each) { return each.id == session.id; });
    if (isOpen(session)) {
        ongoing_.push_back(session);
    }
    list_.remove(pending_.add(session));
    inTransaction([] {});
}

HistoryView HistoryStore::history() {
    heedOtherWriters();
    list_.read(open_ ? &open_->sessions : nullptr, deletion_, pending_);
    return list_.view();
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
    needsRepair_ = true;
    inTransaction([] {});
}

std::size_t HistoryStore::sessionCount() {
    try {
        return open_ ? open_->sessions.count() : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

// MARK: - Away reports

bool HistoryStore::saveAwayPayload(const Uuid& id, Timestamp start, std::optional<Timestamp> end,
                                   const std::string& payload) {
    const auto key = id.text();
    const bool saved = inTransaction([&] {
        StatementRun put(open_->putReport);
        put.bind(1, key).bind(2, start).bind(3, end).bindBlob(4, payload).step();
    });
    payloads_ = nullptr;
    return saved;
}

bool HistoryStore::deleteAwayReport(const Uuid& id) {
    const auto key = id.text();
    const bool deleted =
        inTransaction([&] { StatementRun(open_->deleteReport).bind(1, key).step(); });
    payloads_ = nullptr;
    return deleted;
}

std::shared_ptr<const std::vector<std::string>> HistoryStore::awayPayloads() {
    heedOtherWriters();
    if (payloads_) {
        return payloads_;
    }
    auto texts = std::make_shared<std::vector<std::string>>();
    if (!open_ || deletion_.takesAll) {
        return texts;
    }
    try {
        StatementRun query(open_->allReports);
        query.bind(1, deletion_.startsBefore);
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
    if (std::isnan(before.seconds)) {
        return; // nothing is before that
    }
    hasFile(); // what a new file gets goes with the rest
    deletion_.addStartsBefore(before);
    pending_.eraseStartsBefore(before);
    list_.removeStartsBefore(before);
    inTransaction([] {});
    if (deletion_.waits()) {
        payloads_ = nullptr;
    }
}

void HistoryStore::deleteAll() {
    hasFile();
    deletion_.takesAll = true;
    pending_.clear();
    list_.clear();
    payloads_ = nullptr;
    inTransaction([] {});
}

HistoryStore::Deleted HistoryStore::deleteWhatWaits() {
    if (deletion_.takesAll) {
        return {tryRun(open_->deleteSessions), tryRun(open_->deleteReports)};
    }
    if (const auto before = deletion_.startsBefore) {
        return {tryRun(open_->pruneSessions, *before), tryRun(open_->pruneReports, *before)};
    }
    return {};
}

/// After the commit. What a statement couldn't delete is shown again.
void HistoryStore::endDeletion(const Deleted& deleted) {
    const auto done = std::exchange(deletion_, {});
    list_.readDamagedAgain();
    list_.readAgainIf(!deleted.sessions);
    if (deleted.reports != 0) {
        payloads_ = nullptr;
    }
    if (done.takesAll || deleted.sessions > 0 || deleted.reports > 0) {
        checkpoint();
    }
}

/// The number of changed rows; nothing if the statement failed and left the transaction alive.
template <class... Arguments>
std::optional<int> HistoryStore::tryRun(SQLite::Statement& deletion, Arguments... arguments) {
    try {
        StatementRun run(deletion);
        (run.bind(1, arguments), ...);
        run.step();
        return open_->sqlite().getChanges();
    } catch (const SQLite::Exception& error) {
        if (!open_->isInTransaction()) {
            throw;
        }
        fail(error);
        return std::nullopt;
    }
}

void HistoryStore::checkpoint() {
    needsCheckpoint_ = !open_->database.checkpoint();
}

// MARK: - The file

/// Writes what waits and does the work, then brings the list up to date. True when the work is in
/// the file.
template <class Work>
bool HistoryStore::inTransaction(Work work) {
    if (!hasFile()) {
        list_.show(pending_);
        return false;
    }
    const auto before = std::exchange(failure_, std::nullopt);
    const auto changes = open_->sqlite().getTotalChanges();
    std::vector<HistoryList::Written> written;
    std::vector<PendingSessions::Entries::iterator> failed;
    Deleted deleted;
    errno = 0; // so that a failure can say what the system had against it
    try {
        StatementRun(open_->begin).step();
        deleted = deleteWhatWaits();
        if (needsRepair_) {
            open_->sessions.closeOpen();
        }
        auto each = pending_.begin();
        const auto most = before && !before->isLock ? rowsAfterFailure : rowsAtOnce;
        for (std::size_t row = 0; row < most && each != pending_.end(); ++row, ++each) {
            try {
                written.push_back(write(each));
            } catch (const SQLite::Exception& error) {
                if (!open_->isInTransaction()) {
                    throw;
                }
                fail(error);
                failed.push_back(each); // mustn't keep the others out of the file
            }
        }
        work();
        StatementRun(open_->commit).step();
    } catch (const std::exception& error) {
        fail(error);
        if (open_->isInTransaction()) {
            open_->sqlite().tryExec("ROLLBACK");
        }
        list_.show(pending_);
        return false;
    }
    // Nothing was written by an empty transaction, which only shows that there is no lock.
    if (!failure_ && before && !before->isLock && open_->sqlite().getTotalChanges() == changes) {
        failure_ = before;
    }
    list_.readAgainIf(std::exchange(needsRepair_, false));
    if (deletion_.waits()) {
        endDeletion(deleted);
    }
    for (auto& each : written) {
        list_.moveToFile(std::move(each), pending_);
    }
    for (const auto& each : failed) {
        pending_.postpone(each);
    }
    list_.show(pending_);
    return true;
}

void HistoryStore::fail(const std::exception& error) {
    failure_ =
        HistoryFailure::of(error, HistoryProblem::Kind::notWritten, open_->sqlite().getHandle());
}

bool HistoryStore::isBehind() const {
    return !pending_.empty() || deletion_.waits() || needsRepair_ || needsCheckpoint_ || !open_ ||
           (failure_ && failure_->isLock);
}

bool HistoryStore::catchUp() {
    const auto waiting = [this] {
        return pending_.size() + (deletion_.waits() ? 1 : 0);
    };
    const auto before = waiting();
    if (inTransaction([] {}) && needsCheckpoint_) {
        checkpoint();
    }
    return waiting() < before;
}

/// Whether there is a file that can be written to. Where it isn't the one any more that was opened,
/// another one is opened in its place.
bool HistoryStore::hasFile() {
    if (open_ && open_->database.isGone()) {
        open_->database.leaveSideFiles();
        open_.reset();
    }
    if (!open_) {
        try {
            reopen();
        } catch (const std::exception& error) {
            failure_ = HistoryFailure::of(error, HistoryProblem::Kind::notOpened);
            return false;
        }
    }
    if (open_->database.isDamaged()) {
        failure_ = HistoryFailure::ofDamage();
        return false;
    }
    return true;
}

/// Opens the file that stands there now, made if there is none. What goes on has to be found in
/// that one, too.
void HistoryStore::reopen() {
    if (beforeReopening_) {
        beforeReopening_();
    }
    open_ = std::make_unique<OpenHistory>(url_, HistoryDatabase::Locks::giveUp);
    failure_.reset();
    needsRepair_ = true;
    needsCheckpoint_ = false;
    list_.restart();
    payloads_ = nullptr;
    lastDataVersion_ = -1;
    const auto waiting = pending_.size();
    for (const auto& session : ongoing_) {
        if (!pending_.find(session.id)) {
            pending_.add(session);
        }
    }
    for (std::size_t i = 0; i < waiting; ++i) {
        pending_.postpone(pending_.begin()); // those were there before
    }
    if (std::exchange(wasOpen_, true) && onReplaced_) {
        onReplaced_();
    }
}

HistoryList::Written HistoryStore::write(PendingSessions::Entries::iterator pending) {
    const auto& session = pending->session;
    const std::string key = session.id.text();
    HistoryList::Written written;
    written.pending = pending;
    try {
        written.old = open_->sessions.find(key);
    } catch (const SQLite::Exception&) {
        written.isKnown = false;
    }
    // What the file has of a row whose details were dropped here has to be read from it.
    written.isKnown &= !pending->lacksConnections;
    open_->sessions.put(session, key, pending->connections, pending->lacksConnections);
    const auto row = written.old ? written.old->row : open_->sqlite().getLastInsertRowid();
    written.entry = {{session.start, row},
                     std::make_shared<const UsageSession>(asStored(session, pending->connections))};
    return written;
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
            list_.readAgain();
            payloads_ = nullptr;
        }
    } catch (const SQLite::Exception&) {
        return;
    }
}

} // namespace velmoran
