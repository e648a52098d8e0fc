// A history that can't be saved, in the words that every message uses. Any thread.
#pragma once

#include "core/records/HistoryProblem.h"

#include <string>

namespace velmoran::HistoryWording {

/// What is wrong, with the system's reason in parentheses behind it, in one line. In the language
/// of the process-wide words; the reason in the system's.
std::string sentence(const HistoryProblem& problem);

} // namespace velmoran::HistoryWording
