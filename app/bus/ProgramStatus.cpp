#include "app/bus/ProgramStatus.h"

#include "app/model/AppModel.h"

#include <cmath>

namespace velmoran {

ProgramStatus statusOf(const AppModel& model) {
    ProgramStatus status;
    status.cameraOn = model.snapshot->cameraOn;
    status.microphoneOn = model.snapshot->microphoneOn;
    status.microphoneMuted = *model.settings.microphoneMuted;
    status.stopping = *model.isStopping;
    for (const auto& session : *model.openSessions) {
        const auto since = std::floor(session.start.seconds + secondsFromUnixEpoch);
        status.uses.push_back(
            {.device = session.device,
             .app = {.id = session.app.id, .name = session.app.name, .path = session.app.path},
             .since = static_cast<std::int64_t>(since),
             .seenFromStart = session.observedFromStart});
    }
    return status;
}

void to_json(Json& json, const ProgramStatus& status) {
    json = Json::object();
    json["cameraOn"] = status.cameraOn;
    json["microphoneOn"] = status.microphoneOn;
    json["microphoneMuted"] = status.microphoneMuted;
    json["stopping"] = status.stopping;
    auto& uses = json["uses"] = Json::array();
    for (const auto& use : status.uses) {
        Json app = Json::object();
        app["id"] = use.app.id;
        app["name"] = use.app.name;
        writeIfPresent(app, "path", use.app.path);
        Json each = Json::object();
        each["device"] = use.device;
        each["app"] = std::move(app);
        each["since"] = use.since;
        each["seenFromStart"] = use.seenFromStart;
        uses.push_back(std::move(each));
    }
}

void from_json(const Json& json, ProgramStatus& status) {
    status = {};
    status.cameraOn = required<bool>(json, "cameraOn");
    status.microphoneOn = required<bool>(json, "microphoneOn");
    status.microphoneMuted = required<bool>(json, "microphoneMuted");
    status.stopping = required<bool>(json, "stopping");
    for (const auto& each : required<Json>(json, "uses")) {
        const auto app = required<Json>(each, "app");
        status.uses.push_back({.device = required<Device>(each, "device"),
                               .app = {.id = required<std::string>(app, "id"),
                                       .name = required<std::string>(app, "name"),
                                       .path = ifPresent<std::string>(app, "path")},
                               .since = required<std::int64_t>(each, "since"),
                               .seenFromStart = required<bool>(each, "seenFromStart")});
    }
}

} // namespace velmoran
