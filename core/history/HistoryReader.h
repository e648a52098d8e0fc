// Reads a history file and leaves it as it is: no file is made or written, beside a program that
// keeps the history or without one. Owned by whoever asks; one thread.
#pragma once

#include "core/history/StoredFile.h"
#include "core/records/UsageSession.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct sqlite3_stmt;

namespace velmoran {

class HistoryReader {
public:
    /// Throws std::runtime_error, or an exception derived from it, if there is no file, if it isn't
    /// a history, or if it can't be read.
    explicit HistoryReader(std::filesystem::path file);
    ~HistoryReader();
    HistoryReader(const HistoryReader&) = delete;
    HistoryReader& operator=(const HistoryReader&) = delete;

    /// All readable sessions that stand in the file, the oldest start first, until `visit` wants no
    /// more. Some are read at a time, and the file isn't held while they are visited, so that
    /// whoever keeps it can clear up behind a visitor who takes his time. Throws as the constructor
    /// does.
    void each(const std::function<bool(const UsageSession&)>& visit);

    /// The same for the away reports, as the JSON texts that stand there.
    void eachAwayReport(const std::function<bool(const std::string& payload)>& visit);

    /// So many are read at a time.
    static constexpr int batch = 1000;
    static constexpr int reportBatch = 20; ///< of reports, which may be long

private:
    /// Of the row that was read last, by which the next ones are found.
    struct Place {
        Place();
        double start;
        std::optional<std::int64_t> wholeStart; ///< the same where it is stored as a whole number
        std::int64_t row;
    };

    void open();
    bool logIsThere() const;
    /// Hands over at most so many rows behind that place; whether there may be more.
    bool readSome(const char* query, int most, Place& place,
                  const std::function<void(sqlite3_stmt*)>& take);

    std::filesystem::path file_;
    std::unique_ptr<SQLite::Database> sqlite_; ///< null for a file without any table
    bool isUnlogged_ = false;                  ///< opened as if nobody could write meanwhile
};

} // namespace velmoran
