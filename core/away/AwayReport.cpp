#include "core/away/AwayReport.h"

#include <algorithm>
#include <utility>

namespace velmoran {

bool AwayReport::hasDeviceUse() const {
    return std::ranges::any_of(events, [](const AwayEvent& event) {
        return event.kind == AwayEventKind::cameraUsed ||
               event.kind == AwayEventKind::microphoneUsed;
    });
}

void from_json(const Json& json, AwayReport& report) {
    AwayReport read;
    read.events = required<std::vector<AwayEvent>>(json, "events");
    read.id = required<Uuid>(json, "id");
    read.start = required<Timestamp>(json, "start");
    read.end = ifPresent<Timestamp>(json, "end");
    const auto sleeps = std::erase_if(read.events, [](const AwayEvent& event) {
        return event.kind == AwayEventKind::wentToSleep;
    });
    read.slept = ifPresent<bool>(json, "slept").value_or(sleeps > 0);
    read.ownReturn =
        ifPresent<std::vector<AwayEvent>>(json, "ownReturn").value_or(std::vector<AwayEvent>());
    report = std::move(read);
}

} // namespace velmoran
