#include "core/sessions/SessionEngine.h"

#include <algorithm>
#include <utility>

namespace velmoran {

std::vector<SessionEvent> SessionEngine::ingest(const std::map<Device, DeviceUse>& uses,
                                                Timestamp now, std::optional<Timestamp> elapsing) {
    const bool observedFromStart = std::exchange(hasIngested_, true);
    std::vector<SessionEvent> events;
    for (const auto device : allDevices) {
        const auto use = uses.find(device);
        if (use == uses.end() || !use->second.isOn) {
            endGrace(device);
            endSessions(device, now, events, [](const UsageSession&) { return true; });
        } else if (use->second.apps.empty()) {
            ingestUnattributed(device, now, elapsing.value_or(now), observedFromStart, events);
        } else {
            ingestAttributed(device, use->second.apps, now, observedFromStart, events);
        }
    }
    return events;
}

void SessionEngine::ingestUnattributed(Device device, Timestamp now, Timestamp elapsing,
                                       bool observedFromStart, std::vector<SessionEvent>& events) {
    endSessions(device, now, events,
                [](const UsageSession& session) { return !session.app.isUnknown(); });
    if (findOpen(device, [](const UsageSession&) { return true; })) {
        return;
    }
    const auto since = unattributedSince_.try_emplace(device, now).first->second;
    const auto began = graceBegan_.try_emplace(device, elapsing).first->second;
    if (unknownGrace_ <= elapsing - began) {
        endGrace(device);
        // Dated back: the use began when it was first seen, not when the patience ran out.
        openSession(device, AppIdentity::unknown(), since, observedFromStart, events);
    }
}

void SessionEngine::ingestAttributed(Device device, const std::vector<AppIdentity>& apps,
                                     Timestamp now, bool observedFromStart,
                                     std::vector<SessionEvent>& events) {
    const auto isUnknown = [](const UsageSession& session) {
        return session.app.isUnknown();
    };
    endGrace(device);
    endSessions(device, now, events, [&](const UsageSession& session) {
        return !session.app.isUnknown() &&
               std::none_of(apps.begin(), apps.end(),
                            [&](const AppIdentity& app) { return app.isSameApp(session.app); });
    });
    for (const auto& app : apps) {
        if (findOpen(device,
                     [&](const UsageSession& session) { return session.app.isSameApp(app); })) {
            continue;
        }
        if (auto* unknown = findOpen(device, isUnknown)) {
            unknown->app = app;
            events.push_back({SessionEvent::Kind::reattributed, *unknown});
        } else {
            openSession(device, app, now, observedFromStart, events);
        }
    }
    // As a rule none is left by now.
    endSessions(device, now, events, isUnknown);
}

void SessionEngine::endGrace(Device device) {
    unattributedSince_.erase(device);
    graceBegan_.erase(device);
}

void SessionEngine::openSession(Device device, const AppIdentity& app, Timestamp start,
                                bool observedFromStart, std::vector<SessionEvent>& events) {
    open_.push_back({.id = Uuid::random(),
                     .device = device,
                     .app = app,
                     .start = start,
                     .end = {},
                     .outcome = {},
                     .warningLevel = {},
                     .connections = {},
                     .observedFromStart = observedFromStart});
    events.push_back({SessionEvent::Kind::started, open_.back()});
}

template <class Predicate>
void SessionEngine::endSessions(Device device, Timestamp now, std::vector<SessionEvent>& events,
                                Predicate chosen) {
    // From the back: who opened last ends first, and the events say so.
    for (std::size_t i = open_.size(); i-- > 0;) {
        if (open_[i].device != device || !chosen(open_[i])) {
            continue;
        }
        auto session = std::move(open_[i]);
        open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(i));
        session.end = now;
        session.outcome = stoppedByUser_.erase(session.id) > 0 ? SessionOutcome::stoppedByUser
                                                               : SessionOutcome::endedNormally;
        events.push_back({SessionEvent::Kind::ended, std::move(session)});
    }
}

template <class Predicate>
UsageSession* SessionEngine::findOpen(Device device, Predicate matches) {
    const auto found = std::find_if(open_.begin(), open_.end(), [&](const UsageSession& session) {
        return session.device == device && matches(session);
    });
    return found == open_.end() ? nullptr : &*found;
}

void SessionEngine::markStoppedByUser(const std::set<Uuid>& sessionIDs) {
    for (const auto& session : open_) {
        if (sessionIDs.contains(session.id)) {
            stoppedByUser_.insert(session.id);
        }
    }
}

std::optional<UsageSession>
SessionEngine::update(const Uuid& sessionID, const std::function<void(UsageSession&)>& change) {
    for (auto& session : open_) {
        if (session.id == sessionID) {
            change(session);
            return session;
        }
    }
    return std::nullopt;
}

std::vector<UsageSession> SessionEngine::open(Device device) const {
    std::vector<UsageSession> result;
    std::copy_if(open_.begin(), open_.end(), std::back_inserter(result),
                 [&](const UsageSession& session) { return session.device == device; });
    return result;
}

} // namespace velmoran
