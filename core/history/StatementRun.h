// One run of a prepared statement: binds, steps, and makes the statement ready for its next run at
// the end, however that comes. Lives on the stack of the caller, who keeps bound texts until then.
#pragma once

#include "core/base/Timestamp.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <limits>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace velmoran {

/// Private to core/history. Everything throws SQLite::Exception on failure.
class StatementRun {
public:
    explicit StatementRun(SQLite::Statement& statement) : statement_(statement) {}
    // Every run binds all, so old values needn't be cleared.
    ~StatementRun() { statement_.tryReset(); }
    StatementRun(const StatementRun&) = delete;
    StatementRun& operator=(const StatementRun&) = delete;

    StatementRun& bind(int index, const std::string& text) {
        statement_.bindNoCopy(index, text);
        return *this;
    }
    // A copy: a view may not outlive the call.
    StatementRun& bind(int index, std::string_view text) {
        statement_.bind(index, std::string(text));
        return *this;
    }
    StatementRun& bind(int index, Timestamp time) {
        statement_.bind(index, time.seconds);
        return *this;
    }
    StatementRun& bind(int index, bool flag) {
        statement_.bind(index, flag ? 1 : 0);
        return *this;
    }
    template <class T>
    StatementRun& bind(int index, const std::optional<T>& value) {
        if (!value) {
            statement_.bind(index);
            return *this;
        }
        return bind(index, *value);
    }
    StatementRun& bindBlob(int index, const std::string& bytes) {
        if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
            throw SQLite::Exception("too big", SQLITE_TOOBIG);
        }
        statement_.bindNoCopy(index, bytes.data(), static_cast<int>(bytes.size()));
        return *this;
    }

    StatementRun& bindBlob(int index, const std::optional<std::string>& bytes) {
        if (!bytes) {
            statement_.bind(index);
            return *this;
        }
        return bindBlob(index, *bytes);
    }

    bool step() { return statement_.executeStep(); }
    SQLite::Column column(int index) const { return statement_.getColumn(index); }

private:
    SQLite::Statement& statement_;
};

} // namespace velmoran
