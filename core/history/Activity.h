// The list of sessions as people read it: rows, what lies in a period, and who used how much of it.
// Pure; any thread.
#pragma once

#include "core/history/ActivityRow.h"
#include "core/history/AppTime.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// From `start` on, up to but without `end`.
struct Interval {
    Timestamp start = {};
    Timestamp end = {};

    bool operator==(const Interval&) const = default;
};

namespace Activity {

/// How far from a row's start another device of the app may begin to belong to it, included.
inline constexpr Seconds rowWindow = 5.0;

/// From sessions in any order; newest first. What may be in one row is decided by the row's start,
/// so that a row can't grow by chains of sessions, and the newest row that takes a session has it.
std::vector<ActivityRow> rows(const SessionList& sessions);

/// Up to when a session lasts, as far as is known: `now` while it is open, nothing if nobody saw
/// the end.
std::optional<Timestamp> lastMoment(const UsageSession& session, Timestamp now);

/// The sessions that pass all that is given, in their order. One that ended exactly at the
/// interval's start still lies in it.
SessionList matching(const SessionList& sessions, std::optional<Device> device,
                     const std::optional<std::string>& appID,
                     const std::optional<Interval>& interval, Timestamp now);

/// Longest first, then by name. Sessions that overlap are added, those whose end nobody saw count
/// nothing, and of an app that was called by two names the later in the list holds.
std::vector<AppTime> appTimes(const SessionList& sessions, const Interval& interval, Timestamp now);

} // namespace Activity

} // namespace velmoran
