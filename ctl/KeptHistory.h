// Whether a Velmoran runs, as the lock on the history says where no bus can.
#pragma once

#include "ctl/Ask.h"

namespace velmoran {

/// One on the desktop or in a terminal, of this user, keeps the history now.
bool historyIsKept(const AskOptions& asking);

} // namespace velmoran
