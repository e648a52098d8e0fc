// The one way in which the program writes a length of time. Any thread.
#pragma once

#include "core/base/Timestamp.h"

#include <string>

namespace velmoran::DurationFormat {

/// "59 s", "59 min", "1 h", "1 h 05 min": rounded down, hours go on counting, less than nothing
/// and what is no number are "0 s". What is too long for 64 bits is the longest time that isn't. In
/// the language of the process-wide words.
std::string text(Seconds seconds);

} // namespace velmoran::DurationFormat
