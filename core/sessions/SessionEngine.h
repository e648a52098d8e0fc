// Turns readings of who is using what into sessions with a beginning and an end. Knows no clock,
// no storage and no notices: time comes in, events go out. A plain value that the application model
// owns; main thread.
#pragma once

#include "core/records/UsageSession.h"
#include "core/sessions/DeviceUse.h"
#include "core/sessions/SessionEvent.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace velmoran {

/// After each `ingest`: at most one open session per device and app id; a device has either named
/// sessions or at most one unknown one; a device in `unattributedSince` has none. Open sessions
/// have neither end nor outcome, those in `ended` events have both.
class SessionEngine {
public:
    /// `unknownGrace`: how long a device may be on with no app before a session for the unknown
    /// identity is opened.
    explicit SessionEngine(Seconds unknownGrace) : unknownGrace_(unknownGrace) {}

    /// A reading of all devices; one that is missing is off. Events come device by device in their
    /// fixed order, and for one device: ended apps (latest opened first), then started and
    /// reattributed in the order of `apps`. What the very first reading finds going on counts as
    /// not observed from its start. `elapsing` is what a wait is counted by: it goes on where `now`
    /// stands, and is `now` where nothing is given.
    std::vector<SessionEvent> ingest(const std::map<Device, DeviceUse>& uses, Timestamp now,
                                     std::optional<Timestamp> elapsing = std::nullopt);

    /// These sessions will end as stopped by the user. Ids that aren't open now are dropped.
    void markStoppedByUser(const std::set<Uuid>& sessionIDs);

    /// Changes an open session in place and gives a copy of the result; nothing if none has that
    /// id. `change` leaves `id`, `device`, `end` and `outcome` alone.
    std::optional<UsageSession> update(const Uuid& sessionID,
                                       const std::function<void(UsageSession&)>& change);

    /// In order of opening; a session that was re-attributed keeps its place.
    const std::vector<UsageSession>& open() const { return open_; }
    std::vector<UsageSession> open(Device device) const;

    /// Devices that are on with no app and no session, and since when.
    const std::map<Device, Timestamp>& unattributedSince() const { return unattributedSince_; }
    /// Whether a later reading is needed even if nothing changes.
    bool isGraceRunning() const { return !unattributedSince_.empty(); }

    /// Ids of open sessions that a stop has claimed.
    const std::set<Uuid>& stoppedByUser() const { return stoppedByUser_; }

    bool operator==(const SessionEngine&) const = default;

private:
    void openSession(Device device, const AppIdentity& app, Timestamp start, bool observedFromStart,
                     std::vector<SessionEvent>& events);
    void endGrace(Device device);
    template <class Predicate>
    void endSessions(Device device, Timestamp now, std::vector<SessionEvent>& events,
                     Predicate chosen);
    template <class Predicate>
    UsageSession* findOpen(Device device, Predicate matches);

    void ingestUnattributed(Device device, Timestamp now, Timestamp elapsing,
                            bool observedFromStart, std::vector<SessionEvent>& events);
    void ingestAttributed(Device device, const std::vector<AppIdentity>& apps, Timestamp now,
                          bool observedFromStart, std::vector<SessionEvent>& events);

    Seconds unknownGrace_;
    std::vector<UsageSession> open_;
    std::map<Device, Timestamp> unattributedSince_;
    std::map<Device, Timestamp> graceBegan_; ///< of the same devices, by `elapsing`
    bool hasIngested_ = false;
    std::set<Uuid> stoppedByUser_;
};

} // namespace velmoran
