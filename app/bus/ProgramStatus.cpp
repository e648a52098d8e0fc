#include "app/bus/ProgramStatus.h"

#include "app/model/AppModel.h"

#include <cmath>

namespace velmoran {

namespace {

std::int64_t wholeSeconds(Timestamp time) {
    return static_cast<std::int64_t>(std::floor(time.seconds + secondsFromUnixEpoch));
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
        status.uses.push_back(
            {.device = session.device,
             .app = {.id = session.app.id, .name = session.app.name, .path = session.app.path},
             .since = wholeSeconds(session.start),
             .seenFromStart = session.observedFromStart});
    }
    if (const auto& taken = *model.sightTaken) {
        status.sightTaken = wholeSeconds(*taken);
    }
    return status;
}

} // namespace velmoran
