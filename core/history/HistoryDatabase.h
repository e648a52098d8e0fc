// The open database behind the history: finds out whether a file may be touched at all, makes it if
// it isn't there, and holds the connection. Owned by HistoryStore; main thread only.
#pragma once

#include <SQLiteCpp/Database.h>
#include <filesystem>
#include <memory>
#include <optional>

namespace velmoran {

/// Private to core/history: it shows the database library.
class HistoryDatabase {
public:
    /// As the constructor of HistoryStore says.
    explicit HistoryDatabase(const std::optional<std::filesystem::path>& url);

    SQLite::Database& sqlite() { return *sqlite_; }

    /// Moves what stands in the write-ahead log into the file and empties the log, so that deleted
    /// content is gone from the disk. Does nothing if that can't be done now.
    void checkpoint() noexcept;

    /// The file was deleted, moved away or replaced: what is written from here on is lost.
    bool isGone() noexcept;
    /// Before the end of a connection whose file is gone: its side files may stand where those of
    /// another file are wanted now, so nothing is left in them, and their names aren't touched.
    void leaveSideFiles() noexcept;

private:
    void open(const std::filesystem::path& file);

    std::unique_ptr<SQLite::Database> sqlite_;
};

} // namespace velmoran
