// The one thing that the status icon shows of the whole state. Pure; any thread.
#pragma once

#include "core/records/RawValue.h"

namespace velmoran {

enum class StatusIconState { idle, inUse, alert, awayWatch };

constexpr std::array<std::string_view, 4> caseNames(StatusIconState) {
    return {"idle", "inUse", "alert", "awayWatch"};
}

struct StatusIconInput {
    bool cameraOn = false;
    bool microphoneOn = false;
    bool strongWarningWaiting = false;
    bool awayWatchOn = false;
};

/// A strong warning outranks all else, and use of a device outranks the away watch. The speaker has
/// no say.
StatusIconState statusIconState(const StatusIconInput& input);

} // namespace velmoran
