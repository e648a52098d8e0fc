#include "core/history/HistoryReader.h"

#include "core/history/SessionRecord.h"
#include "core/history/SessionRow.h"

#include <SQLiteCpp/Exception.h>
#include <cctype>
#include <cerrno>
#include <fmt/format.h>
#include <limits>
#include <sqlite3.h>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace velmoran {

namespace fs = std::filesystem;

namespace {

constexpr int lockPatienceMilliseconds = 2000;

/// A start that is no number makes a row unreadable anyway.
constexpr const char* nextSessions = R"(
SELECT rowid, start, id, deviceRaw, appID, appName, bundleID, appPath, teamID, start, end,
       outcomeRaw, levelRaw, connectionsData, observedFromStart
FROM SessionRecord
WHERE (start, rowid) > (?1, ?2) AND typeof(start) IN ('real', 'integer')
ORDER BY start, rowid LIMIT ?3
)";
constexpr const char* nextReports = R"(
SELECT rowid, start, payload FROM AwayReportRecord
WHERE (start, rowid) > (?1, ?2) AND typeof(start) IN ('real', 'integer')
ORDER BY start, rowid LIMIT ?3
)";

std::string asUri(const fs::path& file, const char* how) {
    std::string uri = "file:";
    for (const char byte : fs::absolute(file).string()) {
        const auto code = static_cast<unsigned char>(byte);
        if (std::isalnum(code) != 0 || byte == '/' || byte == '.' || byte == '-' || byte == '_') {
            uri += byte;
        } else {
            uri += fmt::format("%{:02X}", code);
        }
    }
    return uri + how;
}

fs::path besides(const fs::path& file, const char* ending) {
    auto path = file;
    path += ending;
    return path;
}

} // namespace

HistoryReader::HistoryReader(fs::path file) : file_(std::move(file)) {
    open();
}

HistoryReader::~HistoryReader() = default;

bool HistoryReader::logIsThere() const {
    std::error_code none;
    return fs::exists(besides(file_, "-wal"), none);
}

void HistoryReader::open() {
    const auto found = StoredFile::inspect(file_);
    sqlite_.reset();
    if (found.state == StoredFile::State::absent) {
        StoredFile::refuse(file_, std::generic_category().message(ENOENT));
    }
    if (found.state == StoredFile::State::empty) {
        return;
    }
    // The library would make a log and its index for a file without them. Where they are, it needs
    // to write to neither.
    isUnlogged_ = found.hasLog && !logIsThere();
    const auto* how = isUnlogged_ ? "?immutable=1" : found.hasLog ? "?readonly_shm=1" : "";
    std::error_code none;
    if (found.hasLog && !isUnlogged_ && !fs::exists(besides(file_, "-shm"), none)) {
        StoredFile::refuse(file_, "its log can't be read without History.store-shm, which the "
                                  "next start of Velmoran makes");
    }
    sqlite_ = std::make_unique<SQLite::Database>(
        asUri(file_, how), SQLite::OPEN_READONLY | SQLite::OPEN_URI | SQLite::OPEN_NOMUTEX,
        lockPatienceMilliseconds);
    if (StoredFile::checkTables(*sqlite_, file_, found.state)) {
        sqlite_.reset();
    }
}

HistoryReader::Place::Place()
    : start(-std::numeric_limits<double>::infinity()),
      row(std::numeric_limits<std::int64_t>::min()) {}

bool HistoryReader::readSome(const char* query, int most, Place& place,
                             const std::function<void(sqlite3_stmt*)>& take) {
    if (isUnlogged_ && logIsThere()) {
        open(); // somebody has begun to write
    }
    if (!sqlite_) {
        return false;
    }
    sqlite3_stmt* made = nullptr;
    sqlite_->check(sqlite3_prepare_v2(sqlite_->getHandle(), query, -1, &made, nullptr));
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(made, sqlite3_finalize);
    if (place.wholeStart) {
        sqlite3_bind_int64(made, 1, *place.wholeStart); // not all of them fit the other form
    } else {
        sqlite3_bind_double(made, 1, place.start);
    }
    sqlite3_bind_int64(made, 2, place.row);
    sqlite3_bind_int(made, 3, most);
    int count = 0;
    int result = sqlite3_step(made);
    for (; result == SQLITE_ROW; result = sqlite3_step(made)) {
        ++count;
        place.row = sqlite3_column_int64(made, 0);
        place.start = sqlite3_column_double(made, 1);
        place.wholeStart = sqlite3_column_type(made, 1) == SQLITE_INTEGER
                               ? std::optional<std::int64_t>(sqlite3_column_int64(made, 1))
                               : std::nullopt;
        take(made);
    }
    if (result != SQLITE_DONE) {
        sqlite_->check(result);
    }
    return count == most;
}

void HistoryReader::each(const std::function<bool(const UsageSession&)>& visit) {
    Place place;
    for (bool isMore = true; isMore;) {
        std::vector<UsageSession> sessions;
        isMore = readSome(nextSessions, batch, place, [&](sqlite3_stmt* row) {
            if (auto session = sessionFrom(recordAt(row, 2))) {
                sessions.push_back(*std::move(session));
            }
        });
        for (const auto& session : sessions) {
            if (!visit(session)) {
                return;
            }
        }
    }
}

void HistoryReader::eachAwayReport(const std::function<bool(const std::string&)>& visit) {
    Place place;
    for (bool isMore = true; isMore;) {
        std::vector<std::string> payloads;
        isMore = readSome(nextReports, reportBatch, place, [&](sqlite3_stmt* row) {
            const auto* bytes = static_cast<const char*>(sqlite3_column_blob(row, 2));
            payloads.emplace_back(bytes ? bytes : "",
                                  static_cast<std::size_t>(sqlite3_column_bytes(row, 2)));
        });
        for (const auto& payload : payloads) {
            if (!visit(payload)) {
                return;
            }
        }
    }
}

} // namespace velmoran
