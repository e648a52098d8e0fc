#include "app/bus/StatusLines.h"

#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"
#include "core/warnings/HistoryWording.h"
#include "core/warnings/ListeningWording.h"
#include "core/warnings/UnwatchedWording.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

std::string moment(Timestamp time, Timestamp now) {
    const auto hour = words().shortTime(time);
    return words().startOfDay(time) == words().startOfDay(now)
               ? hour
               : words().dayTitle(time, now) + ", " + hour;
}

} // namespace

std::vector<std::string> statusLines(const ProgramStatus& status, Timestamp now) {
    std::vector<std::string> lines;
    if (status.historyProblem) {
        lines.push_back(HistoryWording::sentence(*status.historyProblem));
    }
    for (const auto& use : status.uses) {
        const std::vector<std::string> holes = {use.app.name, DeviceWording::the({use.device}),
                                                moment(use.start(), now)};
        lines.push_back(use.seenFromStart
                            ? words().text("%@ is using %@ (since %@)", holes)
                            : words().text("%@ is using %@ (since %@ or earlier)", holes));
    }
    const auto isListed = [&](Device device) {
        return std::any_of(status.uses.begin(), status.uses.end(),
                           [&](const auto& use) { return use.device == device; });
    };
    // Also what isn't told as a use: the answer never denies that a device is on.
    if (status.cameraOn && !isListed(Device::camera)) {
        lines.push_back(words().text("The camera is in use"));
    }
    if (status.microphoneOn && !isListed(Device::microphone)) {
        std::vector<std::string> listeners;
        for (const auto& app : status.onlyListeners) {
            listeners.push_back(app.name);
        }
        lines.push_back(listeners.empty() ? words().text("The microphone is in use")
                                          : ListeningWording::onlySystem(listeners));
    }
    if (!status.cameraOn && !status.microphoneOn && !isListed(Device::camera) &&
        !isListed(Device::microphone)) {
        lines.push_back(UnwatchedWording::nothingOn(status.unwatched));
    }
    for (auto& reason : UnwatchedWording::reasons(status.unwatched)) {
        lines.push_back(std::move(reason));
    }
    if (status.microphoneMuted) {
        lines.push_back(words().text("The microphone is muted"));
    }
    if (status.stopping) {
        lines.push_back(words().text("A stop is under way"));
    }
    if (status.sightTaken) {
        lines.push_back(
            words().text("Something took Velmoran's view of the sound system away (last: %@)",
                         {moment(ProgramStatus::timestampOf(*status.sightTaken), now)}));
    }
    if (const auto& gap = status.notWatching) {
        lines.push_back(
            words().text("Velmoran wasn't watching from %@ to %@ (%@)",
                         {moment(ProgramStatus::timestampOf(gap->from), now),
                          moment(ProgramStatus::timestampOf(gap->to), now),
                          DurationFormat::text(static_cast<double>(gap->to - gap->from))}));
    }
    if (status.awayWatchOn) {
        lines.push_back(words().text("Away watch is on"));
    }
    if (status.awayWatchCantBegin) {
        lines.push_back(
            words().text("Away watch can't begin until something announces that the screen is "
                         "locked; nothing has yet"));
    }
    if (status.awayWatchMissesInput) {
        lines.push_back(words().text(
            "Away watch doesn't notice keyboard and mouse: the desktop doesn't tell of them"));
    }
    return lines;
}

} // namespace velmoran
