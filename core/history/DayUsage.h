// How long camera and microphone were in use on one day, and by whom. A plain value.
#pragma once

#include "core/history/Activity.h"
#include "core/text/Localizer.h"

#include <optional>
#include <vector>

namespace velmoran {

/// The first moment of the calendar day that many days after that of `time`, or before it; nothing
/// if the calendar gives none.
std::optional<Timestamp> startOfDayAfter(Timestamp time, int days, const Localizer& calendar);

struct DayUsage {
    Timestamp day = {};             ///< the first moment of the calendar day
    Seconds camera = 0;             ///< of all apps together, overlaps added
    Seconds microphone = 0;         ///< likewise
    std::vector<AppTime> apps = {}; ///< longest first

    /// `count` days, the oldest first and that of `now` last. Days are as long as the calendar has
    /// them; one that it doesn't have is left out. The speaker doesn't count.
    static std::vector<DayUsage> days(const SessionList& sessions, int count, Timestamp now,
                                      const Localizer& calendar);

    bool operator==(const DayUsage&) const = default;
};

} // namespace velmoran
