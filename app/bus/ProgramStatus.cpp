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
    status.historyProblem = *model.historyProblem;
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

} // namespace velmoran
