// One thing to tell the user: an app turned on one or more devices within a moment. A plain value;
// main thread.
#pragma once

#include "core/base/Timestamp.h"
#include "core/base/Uuid.h"
#include "core/records/AppIdentity.h"
#include "core/records/Device.h"
#include "core/records/WarningLevel.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmoran {

struct WarningNotice {
    Uuid id;                     ///< kept when sessions merge into it; what is shown has it too
    AppIdentity app;             ///< of the first session
    std::vector<Device> devices; ///< in their fixed order, no repeats
    WarningLevel level = WarningLevel::standard; ///< the highest of the merged sessions
    Timestamp start;                             ///< of the first session, never moved
    bool duringAwayWatch = false;                ///< as given for the first session
    std::set<Uuid> sessionIDs;                   ///< all merged into this notice

    /// "Zoom turned on the camera and microphone", in the language of the process-wide words.
    std::string title() const;
    /// Only for an app that can't be named.
    std::optional<std::string> message() const;

    bool operator==(const WarningNotice&) const = default;
};

} // namespace velmoran
