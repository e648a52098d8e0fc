#include "core/history/SessionRow.h"

#include <cstddef>

namespace velmoran {

namespace {

Column columnOf(sqlite3_stmt* statement, int index) {
    Column column;
    switch (sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER:
        column.kind = Column::Kind::integer;
        column.integer = sqlite3_column_int64(statement, index);
        return column;
    case SQLITE_FLOAT:
        column.kind = Column::Kind::real;
        column.real = sqlite3_column_double(statement, index);
        return column;
    case SQLITE_TEXT:
        column.kind = Column::Kind::text;
        break;
    case SQLITE_BLOB:
        column.kind = Column::Kind::blob;
        break;
    default:
        return column;
    }
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
    const auto count = static_cast<std::size_t>(sqlite3_column_bytes(statement, index));
    if (bytes != nullptr) {
        column.bytes = {bytes, count};
    }
    return column;
}

} // namespace

SessionRecord recordAt(sqlite3_stmt* statement, int first) {
    int index = first;
    const auto next = [&] {
        return columnOf(statement, index++);
    };
    // Braces: evaluated in the order of the columns.
    return {next(), next(), next(), next(), next(), next(), next(),
            next(), next(), next(), next(), next(), next()};
}

} // namespace velmoran
