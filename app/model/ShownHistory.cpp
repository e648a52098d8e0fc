#include "app/model/ShownHistory.h"

#include "core/history/Activity.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

namespace velmoran {

namespace {

/// The reason for which the settings hide a use of that device; nothing if they hide none.
std::optional<SystemProcess::Role> hiddenRole(Device device, const SettingsStore& settings) {
    if (device == Device::speaker && *settings.hideSystemSounds) {
        return SystemProcess::Role::playsSounds;
    }
    if (device == Device::microphone && *settings.ignoreSystemListening) {
        return SystemProcess::Role::listensForSystem;
    }
    return std::nullopt;
}

} // namespace

SessionList ShownHistory::visible(const HistoryView& history) const {
    return newestVisible(history, history.size());
}

SessionList ShownHistory::newestVisible(const HistoryView& history, std::size_t limit) const {
    // Asked once for each path: the same few apps fill a history of years.
    std::unordered_map<std::string_view, std::optional<SystemProcess::Role>> roles;
    const auto roleOf = [&](const AppIdentity& app) {
        const auto [known, isNew] = roles.try_emplace(*app.path);
        if (isNew) {
            known->second = machine_.roleOf(app);
        }
        return known->second;
    };
    SessionList result;
    result.reserve(std::min(limit, history.size()));
    for (auto at = history.begin(); at != history.end() && result.size() < limit; ++at) {
        const auto hidden = hiddenRole(at->device, settings_);
        if (!hidden || !at->app.path || roleOf(at->app) != hidden) {
            result.push_back(at.shared());
        }
    }
    return result;
}

std::vector<ActivityRow> ShownHistory::recentRows(const HistoryView& history) const {
    auto rows = Activity::rows(newestVisible(history, recentSessionCount));
    if (rows.size() > recentRowCount) {
        rows.erase(rows.begin() + recentRowCount, rows.end());
    }
    return rows;
}

std::optional<ActivityRow> ShownHistory::rowContaining(const Uuid& sessionID,
                                                       const HistoryView& history) {
    const auto found = history.find(sessionID);
    if (found == history.end()) {
        return std::nullopt;
    }
    if (found->device == Device::speaker) {
        return ActivityRow::of(found.shared());
    }
    // No other app and no speaker plays a part. What starts later than the window is too late for
    // the row; and what the app did before a pause longer than the window leaves nothing behind
    // that could take this session in.
    const auto concerns = [&](const UsageSession& each) {
        return each.device != Device::speaker && each.app.isSameApp(found->app);
    };
    auto first = found;
    while (first != history.begin() &&
           std::prev(first)->start - found->start <= Activity::rowWindow) {
        --first;
    }
    SessionList near;
    auto earliest = found->start;
    for (auto at = first; at != history.end() && !(earliest - at->start > Activity::rowWindow);
         ++at) {
        if (concerns(*at)) {
            near.push_back(at.shared());
            earliest = std::min(earliest, at->start);
        }
    }
    for (const auto& row : Activity::rows(near)) {
        if (std::ranges::any_of(row.sessions,
                                [&](const auto& each) { return each->id == sessionID; })) {
            return row;
        }
    }
    return std::nullopt; // can't be: each session is in a row
}

} // namespace velmoran
