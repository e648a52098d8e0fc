// What is on right now, in people's words. Pure; any thread.
#pragma once

#include "app/bus/ProgramStatus.h"

#include <string>
#include <vector>

namespace velmoran {

/// At least one line, in the language of the process-wide words. Names may hold anything.
std::vector<std::string> statusLines(const ProgramStatus& status, Timestamp now);

} // namespace velmoran
