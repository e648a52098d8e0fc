// The open database behind the history: finds out whether a file may be touched at all, makes it if
// it isn't there, and holds the connection. Owned by HistoryStore; main thread only.
#pragma once

#include "core/history/FileAppearance.h"

#include <SQLiteCpp/Database.h>
#include <filesystem>
#include <memory>
#include <optional>

namespace velmoran {

/// Private to core/history: it shows the database library.
class HistoryDatabase {
public:
    /// How opening meets another program that has locked the file: its writes last milliseconds.
    enum class Locks { waitFor, giveUp };

    /// As the constructor of HistoryStore says. Once it is open nothing waits for a lock.
    HistoryDatabase(const std::optional<std::filesystem::path>& url, Locks locks);

    SQLite::Database& sqlite() { return *sqlite_; }

    /// Moves what stands in the write-ahead log into the file and empties the log, so that deleted
    /// content is gone from the disk. False, and nothing is done, if that can't be done now.
    bool checkpoint() noexcept;

    /// The file was deleted, moved away or replaced: what is written from here on is lost.
    bool isGone() noexcept;
    /// Another program has cut the file or written over its beginning. What is written from here on
    /// would stand in the log of a file that nobody can open again.
    bool isDamaged() noexcept;
    /// Before the end of a connection whose file is gone: its side files may stand where those of
    /// another file are wanted now, so nothing is left in them, and their names aren't touched.
    void leaveSideFiles() noexcept;

private:
    void open(const std::filesystem::path& file, Locks locks);
    bool canReadTables() noexcept;

    std::unique_ptr<SQLite::Database> sqlite_;
    std::optional<FileAppearance> sound_; ///< when it was looked at last and found sound
    std::optional<FileAppearance> damaged_;
};

} // namespace velmoran
