// How long each app has used devices, as the column beside the history says it. A plain value; any
// thread.
#pragma once

#include "app/contents/HistoryRange.h"
#include "core/history/AppTime.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

struct TotalsContent {
    std::string device;             ///< which device is counted, in words
    std::vector<AppTime> apps = {}; ///< longest first; empty: no use in the period

    /// `range` is a period, not all time.
    static TotalsContent of(const SessionList& sessions, std::optional<Device> device,
                            HistoryRange range, Timestamp now, const Localizer& calendar);

    bool operator==(const TotalsContent&) const = default;
};

/// "Camera", "Microphone", "Speaker", or "All devices".
std::string deviceTitle(std::optional<Device> device);

} // namespace velmoran
