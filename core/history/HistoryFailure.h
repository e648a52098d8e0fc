// What an error of the database library means for the history. Pure; any thread.
#pragma once

#include "core/records/HistoryProblem.h"

#include <exception>

struct sqlite3;
namespace SQLite {
class Exception;
}

namespace velmoran {

/// Why what was to be written last isn't in the file.
struct HistoryFailure {
    HistoryProblem problem;
    bool isLock = false; ///< by another program, whose writes last milliseconds as a rule

    /// Of an error that was thrown just now; `connection` is the one that has failed, or null. A
    /// lock is never `notOpened`: what meets one is tried again.
    static HistoryFailure of(const std::exception& error, HistoryProblem::Kind kind,
                             sqlite3* connection = nullptr);
    /// Of a file that isn't what it was.
    static HistoryFailure ofDamage();
};

/// Reading again won't help.
bool isDamage(const SQLite::Exception& error);

} // namespace velmoran
