#include "core/records/SystemSnapshot.h"

#include "core/records/RawValue.h"
#include "core/text/Localizer.h"

#include <algorithm>
#include <boost/container_hash/hash.hpp>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace velmoran {

namespace {

constexpr RawValueTable<OutputDeviceInfo::Kind, 3> kinds = {
    {{OutputDeviceInfo::Kind::builtInSpeakers, "builtInSpeakers"},
     {OutputDeviceInfo::Kind::headphones, "headphones"},
     {OutputDeviceInfo::Kind::other, "other"}}};

void allowOnly(const Json& object, std::initializer_list<std::string_view> keys) {
    if (!object.is_object()) {
        throw DecodingError("an object was expected");
    }
    for (const auto& item : object.items()) {
        if (std::find(keys.begin(), keys.end(), item.key()) == keys.end()) {
            throw DecodingError("unknown key \"" + item.key() + "\"");
        }
    }
}

std::optional<std::string> nonEmpty(std::optional<std::string> text) {
    return text && !text->empty() ? text : std::nullopt;
}

template <class T>
T orEmpty(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found == object.end() ? T{} : found->get<T>();
}

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

std::string_view rawValue(OutputDeviceInfo::Kind kind) {
    return rawValueIn(kinds, kind);
}

std::optional<OutputDeviceInfo::Kind> outputKindFrom(std::string_view rawValue) {
    return caseIn(kinds, rawValue);
}

const SystemSnapshot& SystemSnapshot::empty() {
    static const SystemSnapshot constant;
    return constant;
}

void to_json(Json& json, const AppRef& ref) {
    json = Json::object();
    json["name"] = ref.name;
    writeIfPresent(json, "bundleID", ref.bundleID);
    writeIfPresent(json, "path", ref.path);
    if (ref.unidentified) {
        json["unidentified"] = true;
    }
}

void from_json(const Json& json, AppRef& ref) {
    allowOnly(json, {"name", "bundleID", "path", "unidentified"});
    ref.name = required<std::string>(json, "name");
    ref.bundleID = nonEmpty(ifPresent<std::string>(json, "bundleID"));
    ref.path = ifPresent<std::string>(json, "path");
    ref.unidentified = orEmpty<bool>(json, "unidentified");
}

void to_json(Json& json, const OutputDeviceInfo& output) {
    json = Json::object();
    json["objectID"] = output.objectID;
    json["name"] = output.name;
    json["kind"] = std::string(rawValue(output.kind));
    writeIfPresent(json, "volume", output.volume);
    json["isMuted"] = output.isMuted;
}

void from_json(const Json& json, OutputDeviceInfo& output) {
    allowOnly(json, {"objectID", "name", "kind", "volume", "isMuted"});
    const auto id = ifPresent<Json>(json, "objectID").value_or(Json(0));
    if (!id.is_number_integer() || id.get<double>() < 0 || id.get<double>() > UINT32_MAX) {
        throw DecodingError("\"objectID\" is not a 32-bit number");
    }
    output.objectID = id.get<std::uint32_t>();
    output.name = orEmpty<std::string>(json, "name");
    const auto kind = ifPresent<Json>(json, "kind");
    output.kind = kind ? caseFromJson(kinds, *kind) : OutputDeviceInfo::Kind::other;
    // Read as a double, which takes no truth value for a number.
    const auto volume = ifPresent<double>(json, "volume");
    output.volume = volume ? std::optional(static_cast<float>(*volume)) : std::nullopt;
    output.isMuted = orEmpty<bool>(json, "isMuted");
}

void to_json(Json& json, const SystemSnapshot& snapshot) {
    json = Json::object();
    json["cameraOn"] = snapshot.cameraOn;
    json["cameraDevices"] = snapshot.cameraDevices;
    json["cameraApps"] = snapshot.cameraApps;
    json["microphoneOn"] = snapshot.microphoneOn;
    json["microphoneApps"] = snapshot.microphoneApps;
    json["microphoneAttributed"] = snapshot.microphoneAttributed;
    json["speakerOn"] = snapshot.speakerOn;
    json["speakerApps"] = snapshot.speakerApps;
    writeIfPresent(json, "output", snapshot.output);
}

void from_json(const Json& json, SystemSnapshot& snapshot) {
    allowOnly(json, {"cameraOn", "cameraDevices", "cameraApps", "microphoneOn", "microphoneApps",
                     "microphoneAttributed", "speakerOn", "speakerApps", "output"});
    snapshot.cameraOn = orEmpty<bool>(json, "cameraOn");
    snapshot.cameraDevices = orEmpty<std::vector<std::string>>(json, "cameraDevices");
    snapshot.cameraApps = orEmpty<std::vector<AppRef>>(json, "cameraApps");
    snapshot.microphoneOn = orEmpty<bool>(json, "microphoneOn");
    snapshot.microphoneApps = orEmpty<std::vector<AppRef>>(json, "microphoneApps");
    snapshot.microphoneAttributed = orEmpty<std::vector<AppRef>>(json, "microphoneAttributed");
    snapshot.speakerOn = orEmpty<bool>(json, "speakerOn");
    snapshot.speakerApps = orEmpty<std::vector<AppRef>>(json, "speakerApps");
    snapshot.output = ifPresent<OutputDeviceInfo>(json, "output");
}

} // namespace velmoran

std::size_t std::hash<velmoran::AppRef>::operator()(const velmoran::AppRef& ref) const noexcept {
    std::size_t seed = 0;
    boost::hash_combine(seed, ref.name);
    for (const auto* text : {&ref.bundleID, &ref.path}) {
        boost::hash_combine(seed, text->has_value());
        if (*text) {
            boost::hash_combine(seed, **text);
        }
    }
    boost::hash_combine(seed, ref.unidentified);
    return seed;
}
