// Which of two versions of the program is the newer one, by their texts. Pure; any thread.
#pragma once

#include <string_view>

namespace velmoran::AppVersion {

/// Whether the candidate is newer, number by number between the points: "1.10" is newer than "1.9",
/// and "1.2" is as new as "1.2.0". Of each piece the digits at its start count, and a piece without
/// any, or with a number beyond 64 bits, counts as 0.
bool isNewer(std::string_view candidate, std::string_view current);

} // namespace velmoran::AppVersion
