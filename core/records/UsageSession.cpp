#include "core/records/UsageSession.h"

#include <algorithm>

namespace velmoran {

namespace {

/// The library would cut a fraction off and wrap what doesn't fit.
struct StrictReader : FieldReader {
    using FieldReader::operator();

    void operator()(const char* name, std::int64_t& field) const {
        const auto number = required<Json>(json, name);
        if (!number.is_number_integer() ||
            (number.is_number_unsigned() && number.get<std::uint64_t>() > INT64_MAX)) {
            throw DecodingError("a whole number was expected");
        }
        field = number.get<std::int64_t>();
    }
};

} // namespace

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

void from_json(const Json& json, ConnectionRecord& connection) {
    visitFields(connection, StrictReader{{json}});
}

} // namespace velmoran
