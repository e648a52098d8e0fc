// One app's use of one device from a start to an end, and the network peers seen meanwhile. Plain
// values; any thread.
#pragma once

#include "core/base/Json.h"
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
void to_json(Json& json, const ConnectionRecord& connection);
void from_json(const Json& json, ConnectionRecord& connection);
void to_json(Json& json, const UsageSession& session);
void from_json(const Json& json, UsageSession& session);

} // namespace velmoran

template <>
struct std::hash<velmoran::ConnectionRecord> {
    std::size_t operator()(const velmoran::ConnectionRecord& connection) const noexcept;
};

template <>
struct std::hash<velmoran::UsageSession> {
    std::size_t operator()(const velmoran::UsageSession& session) const noexcept;
};
