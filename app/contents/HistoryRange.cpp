#include "app/contents/HistoryRange.h"

#include "core/history/DayUsage.h"

namespace velmoran {

std::string labelOf(HistoryRange range) {
    switch (range) {
    case HistoryRange::today:
        return words().text("Today");
    case HistoryRange::week:
        return words().text("Last 7 days");
    case HistoryRange::month:
        return words().text("Last 30 days");
    case HistoryRange::all:
        break;
    }
    return words().text("All");
}

std::optional<Interval> intervalOf(HistoryRange range, Timestamp now, const Localizer& calendar) {
    if (range == HistoryRange::all) {
        return std::nullopt;
    }
    const int earlierDays = range == HistoryRange::today ? 0 : range == HistoryRange::week ? 6 : 29;
    const auto start = startOfDayAfter(now, -earlierDays, calendar);
    return Interval{.start = start ? *start : calendar.startOfDay(now).value_or(now), .end = now};
}

} // namespace velmoran
