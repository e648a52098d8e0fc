// The table of sessions: its statements, prepared once, and nothing that decides. Owned by
// HistoryStore; main thread only.
#pragma once

#include "core/history/HistoryView.h"
#include "core/records/UsageSession.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// Private to core/history. Everything throws SQLite::Exception on failure.
class SessionTable {
public:
    explicit SessionTable(SQLite::Database& sqlite);

    /// Where the row with this id stands; nothing if there is none.
    std::optional<HistoryView::Place> find(const std::string& id);
    /// Inserts a row or overwrites all of the one with this id, or all but its connections. Fails
    /// also where a trigger, which any program can put into the file, has left the row out.
    void put(const UsageSession& session, const std::string& id,
             const std::optional<std::string>& connectionsData, bool keepsConnections);
    /// The outcome `endUnknown` for every row with neither end nor outcome.
    void closeOpen();
    /// Rows that can be read and those that can't.
    std::size_t count();
    /// Every row that can be read, in the order of the table.
    std::vector<HistoryView::Entry> readAll();

private:
    SQLite::Database& sqlite_;
    SQLite::Statement find_;
    SQLite::Statement put_;
    SQLite::Statement close_;
    SQLite::Statement count_;
};

} // namespace velmoran
