#include "app/contents/ChartContent.h"

#include "core/text/DurationFormat.h"

#include <algorithm>
#include <cmath>

namespace velmoran {

DayNoteContent DayNoteContent::of(const DayUsage& day, Timestamp now, const Localizer& calendar) {
    DayNoteContent note{.title = calendar.dayTitle(day.day, now),
                        .camera = DurationFormat::text(day.camera),
                        .microphone = DurationFormat::text(day.microphone)};
    for (std::size_t index = 0; index < std::min(mostApps, day.apps.size()); ++index) {
        const auto& each = day.apps[index];
        note.apps.push_back({.app = each.app, .time = DurationFormat::text(each.seconds)});
    }
    if (day.apps.size() > mostApps) {
        note.more = words().text("and %lld more", {std::to_string(day.apps.size() - mostApps)});
    }
    return note;
}

ChartContent ChartContent::of(const SessionList& sessions, ChartSpan span, Timestamp now,
                              const Localizer& calendar) {
    ChartContent content;
    content.span = span;
    content.now = now;
    content.days = DayUsage::days(sessions, daysIn(span), now, calendar);
    Seconds most = 0;
    for (const auto& day : content.days) {
        most = std::max({most, day.camera, day.microphone});
    }
    content.scale = ChartScale::upTo(most);
    if (content.days.empty()) {
        return content;
    }
    const auto last = content.days.back().day;
    content.end = startOfDayAfter(last, 1, calendar).value_or(last + 86400);
    const auto step = static_cast<std::size_t>(daysBetweenLabels(span));
    for (std::size_t index = 0; index < content.days.size(); index += step) {
        const auto day = content.days[index].day;
        content.labels.push_back({.day = index,
                                  .text = span == ChartSpan::week ? calendar.shortWeekday(day)
                                                                  : calendar.dayAndMonth(day)});
    }
    return content;
}

bool ChartContent::isEmpty() const {
    return std::all_of(days.begin(), days.end(), [](const DayUsage& day) {
        return day.camera == 0.0 && day.microphone == 0.0;
    });
}

std::optional<std::size_t> ChartContent::dayNearest(Timestamp moment) const {
    std::optional<std::size_t> nearest;
    Seconds least = 0;
    for (std::size_t index = 0; index < days.size(); ++index) {
        const auto distance = std::abs(noonOf(days[index]) - moment);
        if (!nearest || distance < least) {
            nearest = index;
            least = distance;
        }
    }
    return nearest;
}

std::optional<std::size_t> ChartContent::indexOf(Timestamp day) const {
    const auto found = std::find_if(days.begin(), days.end(),
                                    [&](const DayUsage& each) { return each.day == day; });
    return found == days.end() ? std::nullopt
                               : std::optional(static_cast<std::size_t>(found - days.begin()));
}

ChartContent::TableRow ChartContent::tableRow(std::size_t day, const Localizer& calendar) const {
    const auto& shown = days[day];
    return {.day = calendar.dayTitle(shown.day, now),
            .camera = DurationFormat::text(shown.camera),
            .microphone = DurationFormat::text(shown.microphone)};
}

} // namespace velmoran
