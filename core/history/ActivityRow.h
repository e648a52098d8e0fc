// What a person experiences as one event, and what one line of a list shows: an app with the
// devices that it turned on within a moment of each other. A plain value.
#pragma once

#include "core/history/SessionRef.h"

#include <optional>
#include <vector>

namespace velmoran {

struct ActivityRow {
    /// One for each device, the earliest start first; never empty. A speaker stands alone.
    SessionList sessions = {};
    /// Those of the sessions, in the order of Device.
    std::vector<Device> devices = {};
    std::optional<Timestamp> end = {}; ///< the latest known; nothing while the row is open
    bool isOpen = false;               ///< one of its sessions is
    /// The first session's, unless the user has stopped one.
    std::optional<SessionOutcome> outcome = {};
    std::optional<WarningLevel> warningLevel = {}; ///< the strongest of the sessions

    /// The row of one session.
    static ActivityRow of(SessionRef session);
    /// Takes a session in that belongs to the row, of a device that the row doesn't have yet.
    void add(SessionRef session);

    const Uuid& id() const { return sessions.front()->id; }
    const AppIdentity& app() const { return sessions.front()->app; }
    Timestamp start() const { return sessions.front()->start; }

    /// Never less than nothing; nothing where the end isn't known.
    std::optional<Seconds> duration(Timestamp now) const;
    /// Of all sessions in their order, each record once.
    std::vector<ConnectionRecord> connections() const;

    /// Session by session, whether or not they are shared.
    bool operator==(const ActivityRow& other) const;
};

} // namespace velmoran
