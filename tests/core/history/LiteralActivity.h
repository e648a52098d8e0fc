// The same rows and times as Activity, by the plainest way to say what they are: each session looks
// through all rows, each day through all sessions.
#pragma once

#include "core/history/DayUsage.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmoran::literal {

inline bool isOpen(const UsageSession& session) {
    return !session.end && !session.outcome;
}

inline void merge(ActivityRow& row, const SessionRef& session) {
    row.devices.push_back(session->device);
    std::ranges::sort(row.devices);
    row.sessions.push_back(session);
    row.isOpen = row.isOpen || isOpen(*session);
    if (row.isOpen) {
        row.end = std::nullopt;
    } else if (session->end) {
        row.end = row.end && *row.end > *session->end ? row.end : session->end;
    }
    if (session->outcome == SessionOutcome::stoppedByUser) {
        row.outcome = SessionOutcome::stoppedByUser;
    }
    if (session->warningLevel) {
        row.warningLevel = row.warningLevel && *row.warningLevel > *session->warningLevel
                               ? row.warningLevel
                               : session->warningLevel;
    }
}

inline std::vector<ActivityRow> rows(SessionList sessions) {
    std::ranges::stable_sort(sessions, {}, [](const auto& each) { return each->start; });
    std::vector<ActivityRow> result;
    for (const auto& session : sessions) {
        const auto has = [](const ActivityRow& row, Device device) {
            return std::ranges::find(row.devices, device) != row.devices.end();
        };
        const auto fitting = std::find_if(result.rbegin(), result.rend(), [&](const auto& row) {
            return row.app().isSameApp(session->app) && !has(row, session->device) &&
                   std::abs(session->start - row.start()) <= 5.0 && !has(row, Device::speaker) &&
                   session->device != Device::speaker;
        });
        if (fitting != result.rend()) {
            merge(*fitting, session);
        } else {
            result.push_back({.sessions = {session},
                              .devices = {session->device},
                              .end = session->end,
                              .isOpen = isOpen(*session),
                              .outcome = session->outcome,
                              .warningLevel = session->warningLevel});
        }
    }
    std::ranges::stable_sort(result, std::greater(), [](const auto& row) { return row.start(); });
    return result;
}

inline std::vector<AppTime> appTimes(const SessionList& sessions, const Interval& interval,
                                     Timestamp now) {
    std::vector<AppTime> result;
    for (const auto& session : sessions) {
        if (!session->end && session->outcome) {
            continue;
        }
        const auto from = std::max(interval.start, session->start);
        const auto to = std::min(interval.end, session->end ? *session->end : now);
        if (to <= from) {
            continue;
        }
        auto entry = std::ranges::find_if(
            result, [&](const AppTime& each) { return each.app.isSameApp(session->app); });
        if (entry == result.end()) {
            entry = result.insert(result.end(), {session->app, 0});
        }
        entry->app = session->app;
        entry->seconds += to - from;
    }
    std::ranges::stable_sort(result, {}, [](const AppTime& each) { return each.app.name; });
    std::ranges::stable_sort(result, std::greater(), &AppTime::seconds);
    return result;
}

inline std::vector<DayUsage> days(const SessionList& sessions, int count, Timestamp now,
                                  const Localizer& calendar) {
    std::vector<DayUsage> result;
    const auto today = *calendar.startOfDay(now);
    for (int offset = 1 - count; offset <= 0; ++offset) {
        const auto day = *calendar.addingDays(today, offset);
        const Interval interval{day, *calendar.addingDays(day, 1)};
        DayUsage usage{.day = day};
        SessionList inDay;
        std::map<Device, SessionList> ofDevice;
        for (const auto& session : sessions) {
            const auto last = session->end       ? *session->end
                              : isOpen(*session) ? now
                                                 : session->start;
            if (session->device != Device::speaker && session->start < interval.end &&
                last >= interval.start) {
                inDay.push_back(session);
                ofDevice[session->device].push_back(session);
            }
        }
        for (const auto& time : appTimes(ofDevice[Device::camera], interval, now)) {
            usage.camera += time.seconds;
        }
        for (const auto& time : appTimes(ofDevice[Device::microphone], interval, now)) {
            usage.microphone += time.seconds;
        }
        usage.apps = appTimes(inDay, interval, now);
        result.push_back(std::move(usage));
    }
    return result;
}

} // namespace velmoran::literal
