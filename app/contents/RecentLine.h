// One line of what the panel lists as recent. A plain value, in the language of the process-wide
// words; made anew with each tick. Any thread.
#pragma once

#include "core/history/ActivityRow.h"

#include <string>
#include <vector>

namespace velmoran {

struct RecentLine {
    Uuid row;
    AppIdentity app;
    std::vector<Device> devices; ///< in their order
    bool wasStopped = false;     ///< by the user
    std::string time;            ///< "Now", a time of today, or an earlier day
    std::string duration;        ///< empty where it isn't known

    static RecentLine of(const ActivityRow& row, Timestamp now);
    /// All of it, for who can't see the symbols.
    std::string spoken() const;

    static std::string heading();
    /// Instead of the list, while it is empty.
    static std::string nothingYet();
    static std::string stoppedByYou();

    bool operator==(const RecentLine&) const = default;
};

} // namespace velmoran
