// What velmoranctl prints of the history: from the file alone, beside a running Velmoran or without
// one.
#pragma once

#include "ctl/Ask.h"
#include "ctl/HistoryLines.h"

#include <string>

namespace velmoran {

struct HistoryOptions {
    std::string device; ///< empty: all
    std::string app;    ///< an id, a path or a name; empty: all
    std::string since;  ///< empty: from the beginning
    std::string until;  ///< empty: up to now
    LineForm form = LineForm::table;
};

/// Gives the exit status: 0, 1 if the history can't be read, 2 for options that can't be
/// understood, 4 if not all of it could be written.
int printHistory(const HistoryOptions& options, const AskOptions& asking);

} // namespace velmoran
