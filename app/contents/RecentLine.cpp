#include "app/contents/RecentLine.h"

#include "app/contents/DeviceNames.h"
#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"

namespace velmoran {

namespace {

std::string timeOf(const ActivityRow& row, Timestamp now) {
    if (row.isOpen) {
        return words().text("Now");
    }
    return words().startOfDay(row.start()) == words().startOfDay(now)
               ? words().shortTime(row.start())
               : words().dayAndMonth(row.start());
}

} // namespace

RecentLine RecentLine::of(const ActivityRow& row, Timestamp now) {
    const auto duration = row.duration(now);
    return {
        .row = row.id(),
        .app = row.app(),
        .devices = row.devices,
        .wasStopped = row.outcome == SessionOutcome::stoppedByUser,
        .time = timeOf(row, now),
        .duration = duration ? DurationFormat::text(*duration) : std::string(),
    };
}

std::string RecentLine::spoken() const {
    std::string line = app.name;
    const auto add = [&line](const std::string& part) {
        line += " · " + part;
    };
    for (const auto device : devices) {
        add(DeviceNames::of(device));
    }
    if (wasStopped) {
        add(stoppedByYou());
    }
    add(time);
    if (!duration.empty()) {
        add(duration);
    }
    return line;
}

std::string RecentLine::heading() {
    return words().text("Recent");
}

std::string RecentLine::nothingYet() {
    return words().text("Nothing has used the camera, microphone or speaker yet.");
}

std::string RecentLine::stoppedByYou() {
    return words().text("Stopped by you");
}

} // namespace velmoran
