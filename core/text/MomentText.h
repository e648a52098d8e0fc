// Moments as people and other programs write them. Pure; any thread.
#pragma once

#include "core/base/Timestamp.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// What a person means by a moment, in the time zone of the process-wide words:
///   "2026-11-22"                the beginning of that day
///   "2026-11-22T10:00"          also with a blank for the T, with seconds and a fraction of them,
///                               and with a zone: Z, +01:00, +0100 or +01
///   "10:00"                     today
///   "today", "yesterday"        the beginning of that day
///   "now"
///   "90s", "30m", "2h"          so long before `now`
///   "7d", "2w"                  so many calendar days or weeks before `now`, at the same time of
///   day
/// Where clocks are set back, the first of two moments with that time; where they skip it, the
/// moment that bears it by the clocks as they were before. Nothing for any other text, and for a
/// date that the calendar hasn't got.
std::optional<Timestamp> momentFrom(std::string_view text, Timestamp now);

enum class Precision { seconds, milliseconds };

/// "2026-11-22T10:00:00+01:00", in the zone of the process-wide words, rounded down. Empty before
/// the year 1 and after 9999.
std::string isoTime(Timestamp time, Precision precision = Precision::seconds);

/// The same as the clocks show it, "2026-11-22 10:00:00".
std::string wallTime(Timestamp time);

} // namespace velmoran
