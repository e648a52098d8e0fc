#include "core/sessions/SessionEngine.h"

#include "support/Samples.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

using Kind = SessionEvent::Kind;

/// Missing, off, on with nobody named, on with some of five apps in any order and with repeats.
std::optional<DeviceUse> someUse() {
    switch (*rc::gen::inRange(0, 6)) {
    case 0:
        return std::nullopt;
    case 1:
        return DeviceUse{};
    case 2:
    case 3:
        return DeviceUse{.isOn = true, .apps = {}};
    default:
        break;
    }
    DeviceUse use{.isOn = true, .apps = {}};
    for (const auto* id : *rc::gen::container<std::vector<const char*>>(
             rc::gen::element("a", "b", "c", "unidentified:1", "d"))) {
        use.apps.push_back(app(id));
    }
    return use;
}

std::map<Device, DeviceUse> someReading() {
    std::map<Device, DeviceUse> reading;
    for (const auto device : allDevices) {
        if (auto use = someUse()) {
            reading[device] = std::move(*use);
        }
    }
    return reading;
}

/// The states of one device as a table gives them, without any list of sessions.
struct DeviceModel {
    enum class State { idle, waiting, unknown, named } state = State::idle;
    Timestamp since;             ///< of the wait or of the unknown session
    std::set<std::string> named; ///< apps with a session

    void read(const DeviceUse& use, Timestamp now, Seconds grace) {
        if (!use.isOn) {
            *this = {};
        } else if (!use.apps.empty()) {
            state = State::named;
            named.clear();
            for (const auto& user : use.apps) {
                named.insert(user.id);
            }
        } else {
            if (state == State::idle || state == State::named) {
                state = State::waiting;
                named.clear();
                since = now;
            }
            if (state == State::waiting && now - since >= grace) {
                state = State::unknown;
            }
        }
    }
};

void checkState(const SessionEngine& engine, Device device, const DeviceModel& model) {
    using State = DeviceModel::State;
    const auto open = engine.open(device);
    const auto waits = engine.unattributedSince().contains(device);
    RC_ASSERT(waits == (model.state == State::waiting));
    if (waits) {
        RC_ASSERT(engine.unattributedSince().at(device) == model.since);
    }
    switch (model.state) {
    case State::idle:
    case State::waiting:
        RC_ASSERT(open.empty());
        break;
    case State::unknown:
        RC_ASSERT(open.size() == 1U);
        RC_ASSERT(open[0].app.isUnknown());
        RC_ASSERT(open[0].start == model.since);
        break;
    case State::named: {
        std::set<std::string> ids;
        for (const auto& session : open) {
            RC_ASSERT(ids.insert(session.app.id).second);
        }
        RC_ASSERT(ids == model.named);
        break;
    }
    }
}

/// Plays the events on the sessions that were open before, and checks each one on the way.
void checkEvents(std::vector<UsageSession> open, const std::vector<SessionEvent>& events,
                 const std::set<Uuid>& marked, Timestamp now, bool isFirst,
                 const SessionEngine& after) {
    for (const auto& [kind, session] : events) {
        const auto found = std::find_if(open.begin(), open.end(), [&](const UsageSession& other) {
            return other.id == session.id;
        });
        if (kind == Kind::started) {
            RC_ASSERT(found == open.end());
            RC_ASSERT(!session.end && !session.outcome && !session.warningLevel);
            RC_ASSERT(session.connections.empty());
            RC_ASSERT(session.observedFromStart == !isFirst);
            RC_ASSERT(session.start == now || (session.app.isUnknown() && session.start < now));
            open.push_back(session);
            continue;
        }
        RC_ASSERT(found != open.end());
        auto expected = *found;
        if (kind == Kind::reattributed) {
            RC_ASSERT(expected.app.isUnknown());
            expected.app = session.app;
            *found = session;
        } else {
            expected.end = now;
            expected.outcome = marked.contains(session.id) ? SessionOutcome::stoppedByUser
                                                           : SessionOutcome::endedNormally;
            open.erase(found);
        }
        RC_ASSERT(session == expected);
    }
    RC_ASSERT(open == after.open());
}

/// Device by device; of each first who went, latest opened first, then who came, in the order of
/// the reading.
void checkOrder(const std::vector<UsageSession>& before, const std::vector<SessionEvent>& events,
                const std::map<Device, DeviceUse>& reading) {
    RC_ASSERT(std::is_sorted(events.begin(), events.end(),
                             [](const SessionEvent& a, const SessionEvent& b) {
                                 return a.session.device < b.session.device;
                             }));
    const auto placeBefore = [&](const SessionEvent& event) {
        return std::find_if(before.begin(), before.end(),
                            [&](const UsageSession& s) { return s.id == event.session.id; });
    };
    const auto placeInReading = [&](const SessionEvent& event) {
        const auto& apps = reading.at(event.session.device).apps;
        return std::find_if(apps.begin(), apps.end(), [&](const AppIdentity& user) {
            return user.id == event.session.app.id;
        });
    };
    for (std::size_t i = 1; i < events.size(); ++i) {
        const auto& last = events[i - 1];
        const auto& next = events[i];
        if (last.session.device != next.session.device) {
            continue;
        }
        if (next.kind == Kind::ended) {
            RC_ASSERT(last.kind == Kind::ended);
            RC_ASSERT(placeBefore(next) < placeBefore(last));
        } else if (last.kind != Kind::ended) {
            RC_ASSERT(placeInReading(last) < placeInReading(next));
        }
    }
}

RC_GTEST_PROP(SessionEngine, KeepsItsLawsUnderAnyReadings, ()) {
    const Seconds grace = *rc::gen::element(0.0, 0.5, 1.0);
    SessionEngine engine(grace);
    std::map<Device, DeviceModel> models;
    std::set<Uuid> marked;
    Timestamp now;
    const int count = *rc::gen::inRange(1, 30);
    for (int i = 0; i < count; ++i) {
        now = now + *rc::gen::element(0.0, 0.25, 0.5, 1.0, 2.0);
        const auto reading = someReading();
        const auto before = engine.open();
        const auto events = engine.ingest(reading, now);

        checkEvents(before, events, marked, now, i == 0, engine);
        checkOrder(before, events, reading);
        for (const auto device : allDevices) {
            const auto use = reading.find(device);
            models[device].read(use == reading.end() ? DeviceUse{} : use->second, now, grace);
            checkState(engine, device, models[device]);
        }
        RC_ASSERT(engine.isGraceRunning() == !engine.unattributedSince().empty());

        std::set<Uuid> toMark = {Uuid::random()};
        for (const auto& session : engine.open()) {
            if (*rc::gen::inRange(0, 4) == 0) {
                toMark.insert(session.id);
                marked.insert(session.id);
            }
        }
        engine.markStoppedByUser(toMark);
        for (const auto& id : engine.stoppedByUser()) {
            RC_ASSERT(std::any_of(engine.open().begin(), engine.open().end(),
                                  [&](const UsageSession& session) { return session.id == id; }));
        }
    }
}

} // namespace
} // namespace velmoran
