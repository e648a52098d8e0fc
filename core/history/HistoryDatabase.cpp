#include "core/history/HistoryDatabase.h"

#include "core/history/StoredFile.h"

#include <SQLiteCpp/Transaction.h>
#include <cerrno>
#include <fmt/format.h>
#include <fstream>
#include <sqlite3.h>
#include <system_error>

namespace velmoran {

namespace fs = std::filesystem;

using namespace StoredFile;

namespace {

constexpr int patienceMilliseconds = 250;

constexpr const char* schema = R"(
CREATE TABLE SessionRecord (
    id TEXT NOT NULL,
    deviceRaw TEXT NOT NULL,
    appID TEXT NOT NULL,
    appName TEXT NOT NULL,
    bundleID TEXT,
    appPath TEXT,
    teamID TEXT,
    start REAL NOT NULL,
    end REAL,
    outcomeRaw TEXT,
    levelRaw TEXT,
    connectionsData BLOB,
    observedFromStart INTEGER NOT NULL
);
CREATE TABLE AwayReportRecord (
    id TEXT NOT NULL,
    start REAL NOT NULL,
    end REAL,
    payload BLOB NOT NULL
);
)";

constexpr const char* indexes = R"(
CREATE UNIQUE INDEX IF NOT EXISTS SessionRecordById ON SessionRecord (id);
CREATE INDEX IF NOT EXISTS SessionRecordByStart ON SessionRecord (start);
CREATE UNIQUE INDEX IF NOT EXISTS AwayReportRecordById ON AwayReportRecord (id);
)";

void makeFolders(const fs::path& folder) {
    if (folder.empty() || fs::is_directory(folder)) {
        return;
    }
    makeFolders(folder.parent_path());
    if (fs::create_directory(folder)) {
        fs::permissions(folder, fs::perms::owner_all);
    }
}

/// Whether closing the last connection may fold the log into the file.
void setFoldingAtClose(SQLite::Database& sqlite, bool allowed) {
    sqlite3_db_config(sqlite.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, allowed ? 0 : 1,
                      nullptr);
}

/// In one transaction, so that a kill leaves all of it or nothing.
void build(SQLite::Database& sqlite) {
    SQLite::Transaction transaction(sqlite, SQLite::TransactionBehavior::IMMEDIATE);
    if (isBlank(sqlite)) { // or else another process was faster
        sqlite.exec(schema);
    }
    sqlite.exec(indexes);
    sqlite.exec(fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {}", applicationMark,
                            schemaVersion));
    transaction.commit();
}

void tune(SQLite::Database& sqlite) {
    // What was committed has left the process and so outlives its kill; only a loss of power can
    // take the last transactions, and never the file's soundness.
    sqlite.exec("PRAGMA synchronous = NORMAL");
    // What a person deletes is overwritten.
    sqlite.exec("PRAGMA secure_delete = ON");
}

} // namespace

HistoryDatabase::HistoryDatabase(const std::optional<fs::path>& url, Locks locks) {
    if (url) {
        open(fs::absolute(*url), locks);
    } else {
        sqlite_ = std::make_unique<SQLite::Database>(":memory:",
                                                     SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        build(*sqlite_);
        tune(*sqlite_);
    }
}

void HistoryDatabase::open(const fs::path& file, Locks locks) {
    makeFolders(file.parent_path());
    const auto state = inspect(file).state;
    if (state == State::absent) {
        // Made here and not by the library, so that it is private before anything stands in it; the
        // library gives its side files the permissions of the file.
        errno = 0;
        if (!std::ofstream(file, std::ios::app)) {
            refuse(file, systemReason());
        }
        fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    }
    try {
        sqlite_ = std::make_unique<SQLite::Database>(
            file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX,
            locks == Locks::waitFor ? patienceMilliseconds : 0);
        setFoldingAtClose(*sqlite_, false);
        if (sqlite3_db_readonly(sqlite_->getHandle(), "main") != 0) {
            refuse(file, "can't be written");
        }
        if (checkTables(*sqlite_, file, state) || state == State::unmarked) {
            build(*sqlite_);
        }
        tune(*sqlite_);
        // Readers and the writer don't wait for each other, and a commit is one append.
        sqlite_->exec("PRAGMA journal_mode = WAL");
        setFoldingAtClose(*sqlite_, true);
        sqlite_->setBusyTimeout(0);
        sound_ = FileAppearance::of(sqlite_->getHandle());
    } catch (...) {
        sqlite_.reset();
        if (state == State::absent) {
            std::error_code none;
            fs::remove(file, none);
        }
        throw;
    }
}

bool HistoryDatabase::checkpoint() noexcept {
    return sqlite3_wal_checkpoint_v2(sqlite_->getHandle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE,
                                     nullptr, nullptr) == SQLITE_OK;
}

bool HistoryDatabase::isGone() noexcept {
    int moved = 0;
    return sqlite3_file_control(sqlite_->getHandle(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) ==
               SQLITE_OK &&
           moved != 0;
}

bool HistoryDatabase::isDamaged() noexcept {
    auto now = FileAppearance::of(sqlite_->getHandle());
    if (!now || !sound_) {
        return false; // the write itself will say what is wrong
    }
    if (now == damaged_) {
        return true;
    }
    // While a log is brought into the file, its first page may count others that come after it.
    const bool isShorter = (now->isCut && (now->size < sound_->size || !now->hasLog)) ||
                           (now->size < sound_->size && !now->beginsAsDatabase());
    if (!isShorter && now->beginning != sound_->beginning) {
        // The first page may stand in the log, and what it says is to be in the file. But that
        // would also fill up a file that was cut.
        checkpoint();
        now = FileAppearance::of(sqlite_->getHandle());
    }
    if (now && (isShorter || !now->beginsAsDatabase() ||
                (now->beginning != sound_->beginning && !canReadTables()))) {
        damaged_ = now;
        return true;
    }
    if (damaged_) { // it was mended in its place: what was read of the damage is to be forgotten
        sqlite3_db_release_memory(sqlite_->getHandle());
        damaged_.reset();
    }
    sound_ = now;
    return false;
}

/// From the file, and not from what was read of it before.
bool HistoryDatabase::canReadTables() noexcept {
    sqlite3_db_release_memory(sqlite_->getHandle());
    try {
        return sqlite_
                   ->execAndGet("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name "
                                "IN ('SessionRecord', 'AwayReportRecord')")
                   .getInt() == 2;
    } catch (const std::exception&) {
        return false;
    }
}

void HistoryDatabase::leaveSideFiles() noexcept {
    checkpoint();
    setFoldingAtClose(*sqlite_, false);
}

} // namespace velmoran
