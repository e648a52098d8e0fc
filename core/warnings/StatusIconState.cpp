#include "core/warnings/StatusIconState.h"

namespace velmoran {

StatusIconState statusIconState(const StatusIconInput& input) {
    if (input.strongWarningWaiting) {
        return StatusIconState::alert;
    }
    if (input.cameraOn || input.microphoneOn) {
        return StatusIconState::inUse;
    }
    return input.awayWatchOn ? StatusIconState::awayWatch : StatusIconState::idle;
}

} // namespace velmoran
