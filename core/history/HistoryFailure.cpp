#include "core/history/HistoryFailure.h"

#include <SQLiteCpp/Exception.h>
#include <sqlite3.h>
#include <system_error>

namespace velmoran {

namespace {

/// Without what the library has to add to it.
int primaryCode(const SQLite::Exception& error) {
    return error.getErrorCode() & 0xFF;
}

} // namespace

bool isRefusal(const SQLite::Exception& error) {
    const int code = primaryCode(error);
    return code == SQLITE_CONSTRAINT || code == SQLITE_TOOBIG || code == SQLITE_MISMATCH;
}

bool isDamage(const SQLite::Exception& error) {
    const int code = primaryCode(error);
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

HistoryFailure HistoryFailure::of(const std::exception& error, HistoryProblem::Kind kind,
                                  sqlite3* connection) {
    HistoryFailure failure{{.kind = kind, .reason = error.what()}, false};
    const auto* ofDatabase = dynamic_cast<const SQLite::Exception*>(&error);
    if (!ofDatabase) {
        return failure;
    }
    const int code = primaryCode(*ofDatabase);
    failure.isLock = code == SQLITE_BUSY || code == SQLITE_LOCKED;
    // The library speaks of errors of the disk, the system says which.
    const int number = connection && code == SQLITE_IOERR ? sqlite3_system_errno(connection) : 0;
    if (number != 0) {
        failure.problem.reason = std::generic_category().message(number);
    } else if (code == SQLITE_FULL) {
        failure.problem.reason = std::make_error_code(std::errc::no_space_on_device).message();
    }
    return failure;
}

HistoryFailure HistoryFailure::ofDamage() {
    return {{.kind = HistoryProblem::Kind::notWritten, .reason = sqlite3_errstr(SQLITE_CORRUPT)},
            false};
}

} // namespace velmoran
