#include "app/contents/HistoryRange.h"

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
    const auto today = calendar.startOfDay(now).value_or(now);
    const int earlierDays = range == HistoryRange::today ? 0 : range == HistoryRange::week ? 6 : 29;
    return Interval{.start = calendar.addingDays(today, -earlierDays).value_or(today), .end = now};
}

} // namespace velmoran
