// The system's own programs that hold cameras and sound cards for others: sound servers and their
// session managers. Whoever listens or watches then is a client of theirs. Any thread.
#pragma once

#include "system/linux/apps/WriteProtection.h"
#include "system/linux/kernel/ProcFs.h"

#include <string_view>

namespace velmoran {

/// True if the process runs one of these, from a place that only root can write: a recorder under
/// their name in somebody's home is none.
bool servesOthers(pid_t pid, const ProcFs& proc, const WriteProtection& protection = {});

/// Whether a program of that path does nothing with sound but pass it on, by its name alone: one
/// that only bears it is followed further than it need be.
bool passesSoundOn(std::string_view program);

} // namespace velmoran
