#include "core/history/Activity.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace velmoran::Activity {

namespace {

/// By what AppIdentity::isSameApp compares.
struct AppKey {
    std::string_view id;
    bool unidentified = false;

    explicit AppKey(const AppIdentity& app) : id(app.id), unidentified(app.unidentified) {}
    bool operator==(const AppKey&) const = default;
};

struct AppKeyHash {
    std::size_t operator()(const AppKey& key) const noexcept {
        return std::hash<std::string_view>()(key.id) + (key.unidentified ? 1 : 0);
    }
};

/// The rows of one app that could still take a session of the camera, and those for the microphone,
/// by their place among all rows. The last is the newest: where it is too old, all are, and what it
/// has taken in makes it full.
using Waiting = std::array<std::vector<std::size_t>, 2>;

std::size_t slot(Device device) {
    return device == Device::camera ? 0 : 1;
}

/// The sessions with the earliest start first, equal ones in the order in which they came.
std::vector<const SessionRef*> byStart(const SessionList& sessions) {
    // Sorted beside their times, so that comparing doesn't fetch each session again and again.
    std::vector<std::pair<Timestamp, const SessionRef*>> entries;
    entries.reserve(sessions.size());
    for (const auto& session : sessions) {
        entries.emplace_back(session->start, &session);
    }
    std::ranges::stable_sort(entries, {}, [](const auto& entry) { return entry.first; });
    std::vector<const SessionRef*> result;
    result.reserve(entries.size());
    for (const auto& entry : entries) {
        result.push_back(entry.second);
    }
    return result;
}

} // namespace

std::vector<ActivityRow> rows(const SessionList& sessions) {
    std::vector<ActivityRow> result;
    result.reserve(sessions.size());
    std::unordered_map<AppKey, Waiting, AppKeyHash> waitingRows;
    for (const auto* session : byStart(sessions)) {
        const auto& each = **session;
        if (each.device == Device::speaker) {
            result.push_back(ActivityRow::of(*session));
            continue;
        }
        auto& waiting = waitingRows[AppKey(each.app)];
        auto& takers = waiting[slot(each.device)];
        if (!takers.empty() && each.start - result[takers.back()].start() <= rowWindow) {
            result[takers.back()].add(*session);
            takers.pop_back();
        } else {
            waiting[1 - slot(each.device)].push_back(result.size());
            result.push_back(ActivityRow::of(*session));
        }
    }
    // They stand in the order of their starts, so that turning it round is all; among equal ones it
    // stays.
    std::ranges::reverse(result);
    for (auto first = result.begin(); first != result.end();) {
        const auto next = std::find_if(first, result.end(), [&](const ActivityRow& row) {
            return row.start() != first->start();
        });
        std::reverse(first, next);
        first = next;
    }
    return result;
}

std::optional<Timestamp> lastMoment(const UsageSession& session, Timestamp now) {
    return session.end || session.outcome ? session.end : now;
}

SessionList matching(const SessionList& sessions, std::optional<Device> device,
                     const std::optional<std::string>& appID,
                     const std::optional<Interval>& interval, Timestamp now) {
    SessionList result;
    std::ranges::copy_if(sessions, std::back_inserter(result), [&](const SessionRef& each) {
        return (!device || each->device == *device) && (!appID || each->app.id == *appID) &&
               (!interval || (each->start < interval->end &&
                              lastMoment(*each, now).value_or(each->start) >= interval->start));
    });
    return result;
}

std::vector<AppTime> appTimes(const SessionList& sessions, const Interval& interval,
                              Timestamp now) {
    struct Total {
        const AppIdentity* app = nullptr;
        Seconds seconds = 0;
    };
    std::vector<Total> totals; // in the order in which the apps first appear
    std::unordered_map<AppKey, std::size_t, AppKeyHash> places;
    for (const auto& session : sessions) {
        const auto last = lastMoment(*session, now);
        if (!last) {
            continue;
        }
        const auto from = std::max(interval.start, session->start);
        const auto to = std::min(interval.end, *last);
        if (!(from < to)) {
            continue;
        }
        const auto [found, isNew] = places.try_emplace(AppKey(session->app), totals.size());
        if (isNew) {
            totals.emplace_back();
        }
        auto& total = totals[found->second];
        total.app = &session->app;
        total.seconds += to - from;
    }
    std::ranges::stable_sort(totals, [](const Total& left, const Total& right) {
        return left.seconds > right.seconds ||
               (left.seconds == right.seconds && left.app->name < right.app->name);
    });
    std::vector<AppTime> result;
    result.reserve(totals.size());
    for (const auto& total : totals) {
        result.push_back({*total.app, total.seconds});
    }
    return result;
}

} // namespace velmoran::Activity
