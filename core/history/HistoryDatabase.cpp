#include "core/history/HistoryDatabase.h"

#include "core/history/SessionRecord.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <fmt/format.h>
#include <fstream>
#include <span>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace velmoran {

namespace fs = std::filesystem;

namespace {

// Both stand in the first page of the file and say what it is before anything of it is believed.
constexpr std::uint32_t applicationMark = 0x566C6D6E; // "Vlmn"
constexpr int schemaVersion = 10000;                  // 1.0.0

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

constexpr std::array<const char*, 4> awayColumnNames = {"id", "start", "end", "payload"};

[[noreturn]] void refuse(const fs::path& file, std::string_view why) {
    throw std::runtime_error(fmt::format("{}: {}", file.string(), why));
}

/// Why the last call of the standard library failed.
std::string systemReason() {
    return std::generic_category().message(errno);
}

void makeFolders(const fs::path& folder) {
    if (folder.empty() || fs::is_directory(folder)) {
        return;
    }
    makeFolders(folder.parent_path());
    if (fs::create_directory(folder)) {
        fs::permissions(folder, fs::perms::owner_all);
    }
}

enum class FileState {
    absent,
    empty,    ///< of no bytes
    marked,   ///< a database with our mark
    unmarked, ///< a database without any mark: ours only if its tables are
};

/// Looks at the first bytes without the database library, which for a foreign database could begin
/// to repair what isn't ours.
FileState inspect(const fs::path& file) {
    const auto status = fs::status(file);
    if (!fs::exists(status)) {
        return FileState::absent;
    }
    if (!fs::is_regular_file(status)) {
        refuse(file, "not a file");
    }
    if (fs::file_size(file) == 0) {
        return FileState::empty;
    }
    std::array<char, 100> header{};
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        refuse(file, systemReason());
    }
    constexpr std::string_view magic("SQLite format 3\0", 16);
    if (!stream.read(header.data(), header.size()) ||
        std::string_view(header.data(), magic.size()) != magic) {
        refuse(file, "not a database");
    }
    std::uint32_t mark = 0;
    for (const char byte : std::span(header).subspan(68, 4)) {
        mark = mark << 8U | static_cast<unsigned char>(byte);
    }
    if (mark == applicationMark) {
        return FileState::marked;
    }
    auto journal = file;
    journal += "-journal";
    std::error_code none;
    if (mark != 0 || (fs::exists(journal, none) && fs::file_size(journal, none) > 0)) {
        refuse(file, "a database of another program");
    }
    return FileState::unmarked;
}

bool hasColumns(SQLite::Database& sqlite, const char* table,
                std::span<const char* const> expected) {
    SQLite::Statement query(sqlite, "SELECT name FROM pragma_table_info(?) ORDER BY cid");
    query.bindNoCopy(1, table);
    std::vector<std::string> names;
    while (query.executeStep()) {
        names.push_back(query.getColumn(0).getString());
    }
    return std::ranges::equal(names, expected,
                              [](const auto& name, const char* other) { return name == other; });
}

bool hasNothing(SQLite::Database& sqlite) {
    return sqlite.execAndGet("SELECT count(*) FROM sqlite_master").getInt() == 0;
}

bool hasOurTables(SQLite::Database& sqlite) {
    return hasColumns(sqlite, "SessionRecord", SessionRecord::columnNames) &&
           hasColumns(sqlite, "AwayReportRecord", awayColumnNames);
}

/// Whether closing the last connection may fold the log into the file.
void setFoldingAtClose(SQLite::Database& sqlite, bool allowed) {
    sqlite3_db_config(sqlite.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, allowed ? 0 : 1,
                      nullptr);
}

/// In one transaction, so that a kill leaves all of it or nothing.
void build(SQLite::Database& sqlite) {
    SQLite::Transaction transaction(sqlite, SQLite::TransactionBehavior::IMMEDIATE);
    if (hasNothing(sqlite)) { // or else another process was faster
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
    const auto state = inspect(file);
    if (state == FileState::absent) {
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
        const bool isBlank = hasNothing(*sqlite_);
        if (isBlank ? state == FileState::unmarked &&
                          sqlite_->execAndGet("PRAGMA user_version").getInt() != 0
                    : !hasOurTables(*sqlite_)) {
            refuse(file, "a database of another program");
        }
        if (sqlite_->execAndGet("PRAGMA user_version").getInt() > schemaVersion) {
            refuse(file, "written by a later version");
        }
        if (isBlank || state == FileState::unmarked) {
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
        if (state == FileState::absent) {
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
