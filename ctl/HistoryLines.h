// Sessions of the history as lines for people, for other programs and for spreadsheets. Main
// thread.
#pragma once

#include "core/records/UsageSession.h"

#include <string>

namespace velmoran {

/// What a line has to know beside its session.
struct LineContext {
    Timestamp now;
    /// A Velmoran keeps the history. Without one a use that stands as open ended at a time that
    /// nobody knows.
    bool isKept = false;
};

enum class LineForm { table, json, csv };

/// What stands before the first line; empty if nothing does. With the end of the line.
std::string headOfLines(LineForm form);
/// One session, with the end of the line. A terminal obeys nothing in it.
std::string lineOf(const UsageSession& session, const LineContext& context, LineForm form);

} // namespace velmoran
