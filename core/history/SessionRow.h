// The row of sessions at which a statement stands, column by column. Private to core/history.
#pragma once

#include "core/history/SessionRecord.h"

#include <sqlite3.h>

namespace velmoran {

/// The columns of the table, in its order, from that one of the statement's on. Good until the
/// statement goes on.
SessionRecord recordAt(sqlite3_stmt* statement, int first);

} // namespace velmoran
