#include "core/history/HistoryFailure.h"

#include <SQLiteCpp/Exception.h>
#include <cerrno>
#include <sqlite3.h>
#include <system_error>

namespace velmoran {

namespace {

/// Without what the library has to add to it.
int primaryCode(const SQLite::Exception& error) {
    return error.getErrorCode() & 0xFF;
}

} // namespace

bool isDamage(const SQLite::Exception& error) {
    const int code = primaryCode(error);
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
}

HistoryFailure HistoryFailure::of(const std::exception& error, HistoryProblem::Kind kind,
                                  sqlite3* connection) {
    const int ofSystem = errno;
    HistoryFailure failure{{.kind = kind, .reason = error.what()}, false};
    const auto* ofDatabase = dynamic_cast<const SQLite::Exception*>(&error);
    if (!ofDatabase) {
        return failure;
    }
    const int code = primaryCode(*ofDatabase);
    failure.isLock = code == SQLITE_BUSY || code == SQLITE_LOCKED;
    if (failure.isLock) {
        failure.problem.kind = HistoryProblem::Kind::notWritten;
    }
    // The library speaks of errors of the disk, the system says which; of one at the end of a
    // transaction the library doesn't keep the number.
    int number = 0;
    if (connection && code == SQLITE_IOERR) {
        number = sqlite3_system_errno(connection);
        number = number == 0 ? ofSystem : number;
    }
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
