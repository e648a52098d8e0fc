#include "core/warnings/StatusIconState.h"

#include "core/records/RawValue.h"

namespace velmoran {

namespace {
constexpr RawValueTable<StatusIconState, 4> table = {{{StatusIconState::idle, "idle"},
                                                      {StatusIconState::inUse, "inUse"},
                                                      {StatusIconState::alert, "alert"},
                                                      {StatusIconState::awayWatch, "awayWatch"}}};
}

StatusIconState statusIconState(const StatusIconInput& input) {
    if (input.strongWarningWaiting) {
        return StatusIconState::alert;
    }
    if (input.cameraOn || input.microphoneOn) {
        return StatusIconState::inUse;
    }
    return input.awayWatchOn ? StatusIconState::awayWatch : StatusIconState::idle;
}

std::string_view rawValue(StatusIconState state) {
    return rawValueIn(table, state);
}

} // namespace velmoran
