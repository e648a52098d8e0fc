// The system's own programs that hold cameras and sound cards for others: sound servers and their
// session managers. Whoever listens or watches then is a client of theirs. Any thread.
#pragma once

#include "system/linux/apps/WriteProtection.h"
#include "system/linux/kernel/ProcFs.h"

namespace velmoran {

/// True if the process runs one of these, from a place that only root can write: a recorder under
/// their name in somebody's home is none.
bool servesOthers(pid_t pid, const ProcFs& proc, const WriteProtection& protection = {});

} // namespace velmoran
