#include "app/bus/ProgramStatus.h"

#include "app/model/AppModel.h"

#include <cmath>

namespace velmoran {

namespace {

std::int64_t unixTime(Timestamp time) {
    return static_cast<std::int64_t>(std::floor(time.seconds + secondsFromUnixEpoch));
}

ProgramStatus::App appOf(const AppIdentity& app) {
    return {.id = app.id, .name = app.name, .path = app.path};
}

} // namespace

ProgramStatus statusOf(const AppModel& model) {
    ProgramStatus status;
    status.cameraOn = model.snapshot->cameraOn;
    status.microphoneOn = model.snapshot->microphoneOn;
    status.microphoneMuted = *model.settings.microphoneMuted;
    status.stopping = *model.isStopping;
    status.historyProblem = *model.historyProblem;
    for (const auto& session : *model.openSessions) {
        status.uses.push_back({.device = session.device,
                               .app = appOf(session.app),
                               .since = unixTime(session.start),
                               .seenFromStart = session.observedFromStart});
    }
    if (const auto& taken = *model.sightTaken) {
        status.sightTaken = unixTime(*taken);
    }
    for (const auto& app : model.onlyListeners()) {
        status.onlyListeners.push_back(appOf(app));
    }
    status.unwatched = model.snapshot->unwatched;
    if (const auto& gap = model.snapshot->lastGap) {
        status.notWatching =
            ProgramStatus::Gap{.from = unixTime(gap->from), .to = unixTime(gap->to)};
    }
    status.awayWatchOn = *model.awayWatchOn;
    if (*model.settings.awayWatchOnLock) {
        status.awayWatchCantBegin = model.awayOutlook.gaps->noLock;
        status.awayWatchMissesInput = model.awayOutlook.gaps->noInput;
    }
    return status;
}

} // namespace velmoran
