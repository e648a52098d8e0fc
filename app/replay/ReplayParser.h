// Reads single lines of a recording, strictly: whatever isn't exactly what the format says is an
// error in words, so that a recording never means something else than it seems to. Pure.
#pragma once

#include "app/replay/ReplayAction.h"

#include <string_view>
#include <variant>

namespace velmoran {

using ReplayLine = std::variant<ReplayBeginning, ReplayAction>;

/// The latest time that a line can have, in seconds since the beginning: some thirty years.
inline constexpr Seconds latestReplayTime = 1e9;

/// Throws DecodingError, with one line of UTF-8 as its text, and nothing else. Whether the line may
/// stand where it stands is not looked at.
ReplayLine parseReplayLine(std::string_view line);

} // namespace velmoran
