// What a stop did, and its words. Plain values; any thread.
#pragma once

#include "core/base/Uuid.h"
#include "core/records/AppIdentity.h"
#include "core/records/Device.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmoran {

/// What muting all microphones came to.
struct MuteOutcome {
    int mutedCount = 0;                 ///< devices that are muted now
    std::vector<std::string> unmutable; ///< names of the input devices that couldn't be muted

    bool operator==(const MuteOutcome&) const = default;
};

/// Where whoever reads it can undo a mute.
enum class UnmutingBy { panel, terminal, panelOrTerminal };

struct StopResult {
    std::optional<bool> microphoneMuted; ///< absent when no mute was attempted
    std::vector<std::string> unmutableMicrophones;
    std::vector<AppIdentity> closed;        ///< apps that went away
    std::vector<AppIdentity> notClosed;     ///< apps still there after closing was tried
    std::vector<AppIdentity> protectedApps; ///< apps that were left alone on purpose
    std::vector<Device> unknownOn;          ///< devices of sessions whose app can't be named
    std::vector<Device> stillInUse;         ///< devices that go on being used after the stop
    std::set<Uuid> stoppedSessionIDs;       ///< sessions of the apps in `closed`

    bool everythingStopped() const;
    /// One or two sentences, in the language of the process-wide words.
    std::string headline() const;
    /// What else has to be said; nothing if all is well and nothing was muted.
    std::optional<std::string> detail(UnmutingBy way = UnmutingBy::panel) const;

    bool operator==(const StopResult&) const = default;
};

} // namespace velmoran
