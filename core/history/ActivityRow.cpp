#include "core/history/ActivityRow.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace velmoran {

namespace {

bool goesOn(const UsageSession& session) {
    return !session.end && !session.outcome;
}

} // namespace

ActivityRow ActivityRow::of(SessionRef session) {
    ActivityRow row;
    row.devices = {session->device};
    row.end = session->end;
    row.isOpen = goesOn(*session);
    row.outcome = session->outcome;
    row.warningLevel = session->warningLevel;
    row.sessions.push_back(std::move(session));
    return row;
}

void ActivityRow::add(SessionRef session) {
    devices.insert(std::ranges::upper_bound(devices, session->device), session->device);
    isOpen = isOpen || goesOn(*session);
    if (isOpen) {
        end.reset();
    } else if (session->end) {
        end = std::max(end.value_or(*session->end), *session->end);
    }
    if (session->outcome == SessionOutcome::stoppedByUser) {
        outcome = session->outcome;
    }
    warningLevel = std::max(warningLevel, session->warningLevel); // none is less than quiet
    sessions.push_back(std::move(session));
}

std::optional<Seconds> ActivityRow::duration(Timestamp now) const {
    if (!end && !isOpen) {
        return std::nullopt;
    }
    return std::max(0.0, end.value_or(now) - start());
}

std::vector<ConnectionRecord> ActivityRow::connections() const {
    std::vector<ConnectionRecord> result;
    std::unordered_set<ConnectionRecord> seen;
    for (const auto& session : sessions) {
        std::ranges::copy_if(session->connections, std::back_inserter(result),
                             [&](const auto& each) { return seen.insert(each).second; });
    }
    return result;
}

bool ActivityRow::operator==(const ActivityRow& other) const {
    return devices == other.devices && end == other.end && isOpen == other.isOpen &&
           outcome == other.outcome && warningLevel == other.warningLevel &&
           std::ranges::equal(sessions, other.sessions,
                              [](const auto& left, const auto& right) { return *left == *right; });
}

} // namespace velmoran
