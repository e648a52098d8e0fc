#include "core/records/UsageSession.h"

#include <algorithm>
#include <boost/container_hash/hash.hpp>

namespace velmoran {

Seconds UsageSession::duration(Timestamp now) const {
    return std::max(0.0, end.value_or(now) - start);
}

void to_json(Json& json, Timestamp time) {
    json = time.seconds;
}

void from_json(const Json& json, Timestamp& time) {
    if (!json.is_number()) {
        throw DecodingError("a number of seconds was expected");
    }
    time.seconds = json.get<double>();
}

void to_json(Json& json, const Uuid& id) {
    json = id.text();
}

void from_json(const Json& json, Uuid& id) {
    const auto parsed =
        json.is_string() ? Uuid::parse(json.get_ref<const std::string&>()) : std::nullopt;
    if (!parsed) {
        throw DecodingError("a UUID was expected");
    }
    id = *parsed;
}

void to_json(Json& json, const ConnectionRecord& connection) {
    json = Json::object();
    json["address"] = connection.address;
    json["port"] = connection.port;
    json["transport"] = connection.transport;
    writeIfPresent(json, "firstSeen", connection.firstSeen);
}

void from_json(const Json& json, ConnectionRecord& connection) {
    connection.address = required<std::string>(json, "address");
    const auto port = required<Json>(json, "port");
    // The library would cut a fraction off and wrap what doesn't fit; a strict reader refuses both.
    if (!port.is_number_integer() ||
        (port.is_number_unsigned() && port.get<std::uint64_t>() > INT64_MAX)) {
        throw DecodingError("a whole number was expected");
    }
    connection.port = port.get<std::int64_t>();
    connection.transport = required<std::string>(json, "transport");
    connection.firstSeen = ifPresent<Timestamp>(json, "firstSeen");
}

void to_json(Json& json, const UsageSession& session) {
    json = Json::object();
    json["id"] = session.id;
    json["device"] = session.device;
    json["app"] = session.app;
    json["start"] = session.start;
    writeIfPresent(json, "end", session.end);
    writeIfPresent(json, "outcome", session.outcome);
    writeIfPresent(json, "warningLevel", session.warningLevel);
    json["connections"] = session.connections;
    json["observedFromStart"] = session.observedFromStart;
}

void from_json(const Json& json, UsageSession& session) {
    session.id = required<Uuid>(json, "id");
    session.device = required<Device>(json, "device");
    session.app = required<AppIdentity>(json, "app");
    session.start = required<Timestamp>(json, "start");
    session.end = ifPresent<Timestamp>(json, "end");
    session.outcome = ifPresent<SessionOutcome>(json, "outcome");
    session.warningLevel = ifPresent<WarningLevel>(json, "warningLevel");
    session.connections = required<std::vector<ConnectionRecord>>(json, "connections");
    session.observedFromStart = required<bool>(json, "observedFromStart");
}

} // namespace velmoran

namespace {
template <class T, class Value>
void combineOptional(std::size_t& seed, const std::optional<T>& value, Value&& hashable) {
    boost::hash_combine(seed, value.has_value());
    if (value) {
        boost::hash_combine(seed, hashable(*value));
    }
}
} // namespace

std::size_t std::hash<velmoran::ConnectionRecord>::operator()(
    const velmoran::ConnectionRecord& connection) const noexcept {
    std::size_t seed = 0;
    boost::hash_combine(seed, connection.address);
    boost::hash_combine(seed, connection.port);
    boost::hash_combine(seed, connection.transport);
    combineOptional(seed, connection.firstSeen, [](auto time) { return time.seconds; });
    return seed;
}

std::size_t std::hash<velmoran::UsageSession>::operator()(
    const velmoran::UsageSession& session) const noexcept {
    std::size_t seed = std::hash<velmoran::Uuid>{}(session.id);
    boost::hash_combine(seed, std::string(rawValue(session.device)));
    boost::hash_combine(seed, std::hash<velmoran::AppIdentity>{}(session.app));
    boost::hash_combine(seed, session.start.seconds);
    combineOptional(seed, session.end, [](auto time) { return time.seconds; });
    combineOptional(seed, session.outcome, [](auto value) { return std::string(rawValue(value)); });
    combineOptional(seed, session.warningLevel,
                    [](auto value) { return std::string(rawValue(value)); });
    for (const auto& connection : session.connections) {
        boost::hash_combine(seed, std::hash<velmoran::ConnectionRecord>{}(connection));
    }
    boost::hash_combine(seed, session.observedFromStart);
    return seed;
}
