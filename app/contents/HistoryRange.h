// The periods that the history can be narrowed to. Plain values; any thread.
#pragma once

#include "core/history/Activity.h"
#include "core/text/Localizer.h"

#include <array>
#include <optional>
#include <string>

namespace velmoran {

enum class HistoryRange { today, week, month, all };

inline constexpr std::array<HistoryRange, 4> allHistoryRanges = {
    HistoryRange::today, HistoryRange::week, HistoryRange::month, HistoryRange::all};

/// What a person chooses it by.
std::string labelOf(HistoryRange range);

/// Whole calendar days, that of `now` the last, which ends with `now` itself; nothing stands for
/// all time.
std::optional<Interval> intervalOf(HistoryRange range, Timestamp now, const Localizer& calendar);

} // namespace velmoran
