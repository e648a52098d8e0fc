#include "core/history/DayUsage.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <optional>

namespace velmoran {

namespace {

/// The calendar day that begins that many days after `today` did, from its first moment to that of
/// the next one.
std::optional<Interval> calendarDay(Timestamp today, int offset, const Localizer& calendar) {
    const auto day = startOfDayAfter(today, offset, calendar);
    const auto next = day ? startOfDayAfter(*day, 1, calendar) : std::nullopt;
    return next ? std::optional(Interval{*day, *next}) : std::nullopt;
}

/// Without those for which the calendar gives no date.
std::vector<Interval> calendarDays(int count, Timestamp now, const Localizer& calendar) {
    std::vector<Interval> result;
    const auto today = calendar.startOfDay(now);
    for (int ago = count; today && ago > 0; --ago) {
        const auto day = calendarDay(*today, 1 - ago, calendar);
        if (day) {
            result.push_back(*day);
        }
    }
    return result;
}

/// What of the sessions lies in each of the days, in their order.
std::vector<SessionList> byDay(const SessionList& sessions, const std::vector<Interval>& days,
                               Timestamp now) {
    std::vector<SessionList> result(days.size());
    for (const auto& session : sessions) {
        if (session->device == Device::speaker) {
            continue;
        }
        const auto last = Activity::lastMoment(*session, now).value_or(session->start);
        auto day = std::ranges::upper_bound(days, session->start, {}, &Interval::end);
        for (; day != days.end() && !(last < day->start); ++day) {
            result[static_cast<std::size_t>(day - days.begin())].push_back(session);
        }
    }
    return result;
}

Seconds total(const SessionList& sessions, Device device, const Interval& interval, Timestamp now) {
    const auto times = Activity::appTimes(
        Activity::matching(sessions, device, std::nullopt, std::nullopt, now), interval, now);
    return std::accumulate(times.begin(), times.end(), Seconds(),
                           [](Seconds sum, const AppTime& time) { return sum + time.seconds; });
}

} // namespace

std::optional<Timestamp> startOfDayAfter(Timestamp time, int days, const Localizer& calendar) {
    // Where clocks change at midnight, the same time on another day needn't be its beginning.
    const auto start = calendar.startOfDay(time);
    const auto moved = start ? calendar.addingDays(*start, days) : std::nullopt;
    return moved ? calendar.startOfDay(*moved) : std::nullopt;
}

std::vector<DayUsage> DayUsage::days(const SessionList& sessions, int count, Timestamp now,
                                     const Localizer& calendar) {
    const auto days = calendarDays(count, now, calendar);
    const auto parts = byDay(sessions, days, now);
    std::vector<DayUsage> result;
    result.reserve(days.size());
    for (std::size_t index = 0; index < days.size(); ++index) {
        const auto& inDay = parts[index];
        result.push_back({.day = days[index].start,
                          .camera = total(inDay, Device::camera, days[index], now),
                          .microphone = total(inDay, Device::microphone, days[index], now),
                          .apps = Activity::appTimes(inDay, days[index], now)});
    }
    return result;
}

} // namespace velmoran
