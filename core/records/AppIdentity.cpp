#include "core/records/AppIdentity.h"

#include "core/text/Localizer.h"

#include <boost/container_hash/hash.hpp>

namespace velmoran {

AppIdentity AppIdentity::unknown() {
    return {.id = unknownID,
            .name = words().text("Unknown app"),
            .bundleID = {},
            .path = {},
            .teamID = {}};
}

void to_json(Json& json, const AppIdentity& app) {
    json = Json::object();
    json["id"] = app.id;
    json["name"] = app.name;
    writeIfPresent(json, "bundleID", app.bundleID);
    writeIfPresent(json, "path", app.path);
    writeIfPresent(json, "teamID", app.teamID);
    if (app.unidentified) {
        json["unidentified"] = true;
    }
}

void from_json(const Json& json, AppIdentity& app) {
    app.id = required<std::string>(json, "id");
    app.name = required<std::string>(json, "name");
    app.bundleID = ifPresent<std::string>(json, "bundleID");
    app.path = ifPresent<std::string>(json, "path");
    app.teamID = ifPresent<std::string>(json, "teamID");
    app.unidentified = ifPresent<bool>(json, "unidentified").value_or(false);
}

} // namespace velmoran

std::size_t
std::hash<velmoran::AppIdentity>::operator()(const velmoran::AppIdentity& app) const noexcept {
    std::size_t seed = 0;
    boost::hash_combine(seed, app.id);
    boost::hash_combine(seed, app.name);
    for (const auto* text : {&app.bundleID, &app.path, &app.teamID}) {
        boost::hash_combine(seed, text->has_value());
        if (*text) {
            boost::hash_combine(seed, **text);
        }
    }
    boost::hash_combine(seed, app.unidentified);
    return seed;
}
