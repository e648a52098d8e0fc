// What velmoranctl prints of the away watch: from the history's file, beside a running Velmoran or
// without one.
#pragma once

#include "ctl/Ask.h"

namespace velmoran {

/// Gives the exit status: 0, 1 if the history can't be read, 4 if not all of it could be written.
int printReports(bool json, const AskOptions& asking);

} // namespace velmoran
