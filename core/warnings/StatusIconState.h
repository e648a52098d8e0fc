// The one thing that the status icon shows of the whole state. Pure; any thread.
#pragma once

#include <string_view>

namespace velmoran {

enum class StatusIconState { idle, inUse, alert, awayWatch };

struct StatusIconInput {
    bool cameraOn = false;
    bool microphoneOn = false;
    bool strongWarningWaiting = false;
    bool awayWatchOn = false;
};

/// A strong warning outranks all else, and use of a device outranks the away watch. The speaker has
/// no say.
StatusIconState statusIconState(const StatusIconInput& input);

/// The case name.
std::string_view rawValue(StatusIconState state);

} // namespace velmoran
