// The history's file as velmoranctl reads it: beside a running Velmoran or without one.
#pragma once

#include "core/history/HistoryReader.h"
#include "ctl/Ask.h"
#include "ctl/Output.h"

#include <functional>

namespace velmoran {

/// A Velmoran on the desktop or in a terminal, of this user, keeps the history now, as the lock on
/// it says where no bus can.
bool historyIsKept(const AskOptions& asking);

/// Lets `print` read it, and gives the exit status. Complains where there is none, and of what
/// `print` throws.
int printKept(const std::function<void(HistoryReader& reader, Output& output)>& print);

} // namespace velmoran
