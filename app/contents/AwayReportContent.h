// What a report of the away watch says: its heading, what happened in the order of its times, and
// what is to be known about that. Plain values; any thread.
#pragma once

#include "core/away/AwayReport.h"

#include <string>
#include <vector>

namespace velmoran {

struct AwayReportContent {
    struct Row {
        AwayEvent event;
        bool justBeforeUnlock = false; ///< probably the user's own coming back

        bool operator==(const Row&) const = default;
    };

    Uuid id; ///< the report's
    std::string heading;
    std::string when;               ///< from when to when, as a sentence or by itself
    std::vector<Row> rows;          ///< none where nothing happened, whatever the user's return was
    std::string devices = {};       ///< that none was used; empty if there is nothing to say
    std::vector<std::string> notes; ///< in small letters

    static AwayReportContent of(const AwayReport& report);

    bool operator==(const AwayReportContent&) const = default;
};

/// What stands for the end of a report that goes on.
std::string presentMoment();

/// The words of one row, in the order in which they stand.
struct AwayRowText {
    std::string time;
    std::string title;
    std::string tag; ///< empty for none

    /// All of them, for a screen reader.
    std::string spoken() const;

    bool operator==(const AwayRowText&) const = default;
};

AwayRowText rowText(const AwayReportContent::Row& row);
/// "just before you unlocked"
std::string ownReturnTag();

} // namespace velmoran
