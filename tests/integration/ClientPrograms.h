// The clients of the sound server that come with the tests, by their paths.
#pragma once

#include <string>

namespace velmoran::support {

inline const std::string graphClient = CLIENT_PROGRAMS "/graph-client";
inline const std::string pulseClient = CLIENT_PROGRAMS "/pulse-client";

} // namespace velmoran::support
