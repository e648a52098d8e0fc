// Reports of the away watch as lines for people and for other programs. Main thread.
#pragma once

#include "core/away/AwayReport.h"

#include <string>

namespace velmoran {

/// Some lines in words, with their ends. A terminal obeys nothing in them.
std::string linesOf(const AwayReport& report);
/// One line with its end: an object, times with their zones.
std::string jsonOf(const AwayReport& report);

} // namespace velmoran
