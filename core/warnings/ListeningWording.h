// What is said where the microphone is on for the system's own listening alone, as for a level
// meter: nobody uses it, and yet it isn't off. In the language of the process-wide words. Any
// thread.
#pragma once

#include <string>
#include <vector>

namespace velmoran::ListeningWording {

/// By the names of those who listen, at least one.
std::string onlySystem(const std::vector<std::string>& names);

} // namespace velmoran::ListeningWording
