#include "core/records/SystemSnapshot.h"

#include "core/text/Localizer.h"

#include <utility>

namespace velmoran {

namespace {

template <class Record>
void allowOnlyFields(const Json& object, const Record& record) {
    if (!object.is_object()) {
        throw DecodingError("an object was expected");
    }
    for (const auto& item : object.items()) {
        bool isField = false;
        visitFields(record,
                    [&](const char* name, const auto&, auto...) { isField |= item.key() == name; });
        if (!isField) {
            throw DecodingError("unknown key \"" + item.key() + "\"");
        }
    }
}

/// What is missing is empty; null stands for that in an optional field alone.
struct LenientReader {
    const Json& json;

    template <class T>
    void operator()(const char* name, T& field, auto...) const {
        const auto found = json.find(name);
        field = found == json.end() ? T() : found->template get<T>();
    }
    template <class T>
    void operator()(const char* name, std::optional<T>& field) const {
        field = ifPresent<T>(json, name);
    }
};

} // namespace

AppRef AppRef::unidentifiedAs(std::string id) {
    return {.name = words().text("Unknown app"),
            .bundleID = std::move(id),
            .path = {},
            .unidentified = true};
}

const std::string& AppRef::id() const {
    return bundleID ? *bundleID : path ? *path : name;
}

const SystemSnapshot& SystemSnapshot::empty() {
    static const SystemSnapshot constant;
    return constant;
}

void from_json(const Json& json, AppRef& ref) {
    allowOnlyFields(json, ref);
    ref.name = required<std::string>(json, "name");
    visitFields(ref, LenientReader{json});
    if (ref.bundleID == "") {
        ref.bundleID.reset();
    }
}

void from_json(const Json& json, OutputDeviceInfo& output) {
    allowOnlyFields(json, output);
    const LenientReader read{json};
    const auto id = ifPresent<Json>(json, "objectID").value_or(Json(0));
    if (!id.is_number_integer() || id.get<double>() < 0 || id.get<double>() > UINT32_MAX) {
        throw DecodingError("\"objectID\" is not a 32-bit number");
    }
    output.objectID = id.get<std::uint32_t>();
    read("name", output.name);
    output.kind =
        ifPresent<OutputDeviceInfo::Kind>(json, "kind").value_or(OutputDeviceInfo::Kind::other);
    // As a double, which takes no truth value for a number.
    const auto volume = ifPresent<double>(json, "volume");
    output.volume = volume ? std::optional(static_cast<float>(*volume)) : std::nullopt;
    read("isMuted", output.isMuted);
}

void from_json(const Json& json, SystemSnapshot& snapshot) {
    allowOnlyFields(json, snapshot);
    visitFields(snapshot, LenientReader{json});
}

} // namespace velmoran
