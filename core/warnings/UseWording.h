// Who is using what right now, in short sentences. In the language of the process-wide words; any
// thread.
#pragma once

#include "core/records/UsageSession.h"

#include <string>
#include <vector>

namespace velmoran::UseWording {

/// How many apps are named at most.
inline constexpr std::size_t mostApps = 6;

/// "Zoom is using the camera and microphone": a line for each app, in the order of the sessions.
/// All that can't be named are one. The speaker has no say. Behind `mostApps` stands "…".
std::vector<std::string> lines(const std::vector<UsageSession>& open);

} // namespace velmoran::UseWording
