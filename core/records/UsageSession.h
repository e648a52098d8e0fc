// One app's use of one device from a start to an end, and the network peers seen meanwhile. Plain
// values; any thread.
#pragma once

#include "core/base/Fields.h"
#include "core/base/Timestamp.h"
#include "core/base/Uuid.h"
#include "core/records/AppIdentity.h"
#include "core/records/Device.h"
#include "core/records/SessionOutcome.h"
#include "core/records/WarningLevel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// One network peer seen while a session ran.
struct ConnectionRecord {
    std::string address;                ///< remote address as printed
    std::int64_t port = 0;              ///< remote port
    std::string transport;              ///< "TCP" or "UDP"
    std::optional<Timestamp> firstSeen; ///< absent in records that don't know

    bool operator==(const ConnectionRecord&) const = default;
};

/// `end` and `outcome` are both absent while the session is open. A closed session has an outcome;
/// it has no end if the program was not running when the use ended.
struct UsageSession {
    Uuid id; ///< made when opened, never changes
    Device device = Device::camera;
    AppIdentity app; ///< the unknown identity until someone is known
    Timestamp start; ///< when the use began or was first seen
    std::optional<Timestamp> end;
    std::optional<SessionOutcome> outcome;
    std::optional<WarningLevel> warningLevel; ///< absent until chosen
    std::vector<ConnectionRecord> connections;
    bool observedFromStart = false; ///< the program was watching when the use began

    /// Up to `end`, or to `now` while open; never negative.
    Seconds duration(Timestamp now) const;

    bool operator==(const UsageSession&) const = default;
};

void to_json(Json& json, Timestamp time);
void from_json(const Json& json, Timestamp& time);
void to_json(Json& json, const Uuid& id);
void from_json(const Json& json, Uuid& id);
/// Takes whole numbers alone for the port.
void from_json(const Json& json, ConnectionRecord& connection);

void visitFields(MaybeConst<ConnectionRecord> auto& connection, auto visit) {
    visit("address", connection.address);
    visit("port", connection.port);
    visit("transport", connection.transport);
    visit("firstSeen", connection.firstSeen);
}

void visitFields(MaybeConst<UsageSession> auto& session, auto visit) {
    visit("id", session.id);
    visit("device", session.device);
    visit("app", session.app);
    visit("start", session.start);
    visit("end", session.end);
    visit("outcome", session.outcome);
    visit("warningLevel", session.warningLevel);
    visit("connections", session.connections);
    visit("observedFromStart", session.observedFromStart);
}

} // namespace velmoran

template <>
struct std::hash<velmoran::ConnectionRecord> : velmoran::FieldHash<velmoran::ConnectionRecord> {};

template <>
struct std::hash<velmoran::UsageSession> : velmoran::FieldHash<velmoran::UsageSession> {};
