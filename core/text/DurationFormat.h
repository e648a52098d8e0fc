// The one way in which the program writes a length of time. Any thread.
#pragma once

#include "core/base/Timestamp.h"

#include <string>

namespace velmoran::DurationFormat {

/// "59 s", "59 min", "1 h", "1 h 05 min": rounded down, hours go on counting, less than nothing is
/// "0 s". The value is finite and fits 64 bits. In the language of the process-wide words.
std::string text(Seconds seconds);

} // namespace velmoran::DurationFormat
