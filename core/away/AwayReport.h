// What happened between a lock and an unlock of the screen. Plain values; any thread.
#pragma once

#include "core/away/AwayEvent.h"
#include "core/base/Fields.h"
#include "core/base/Timestamp.h"
#include "core/base/Uuid.h"

#include <optional>
#include <vector>

namespace velmoran {

struct AwayReport {
    Uuid id; ///< made when the watch begins
    Timestamp start;
    std::optional<Timestamp> end;     ///< absent while it runs, and for good if it never ended
    std::vector<AwayEvent> events;    ///< oldest first
    bool slept = false;               ///< the machine went to sleep during the watch
    std::vector<AwayEvent> ownReturn; ///< taken off `events` as the user's own coming back

    /// Nothing happened; `ownReturn` and `slept` don't count.
    bool isEmpty() const { return events.empty(); }
    /// An app turned on the camera or the microphone.
    bool hasDeviceUse() const;

    bool operator==(const AwayReport&) const = default;
};

void visitFields(MaybeConst<AwayReport> auto& report, auto visit) {
    visit("id", report.id);
    visit("start", report.start);
    visit("end", report.end);
    visit("events", report.events);
    visit("slept", report.slept);
    visit("ownReturn", report.ownReturn);
}

/// Older reports had sleep among their events and no own return: that sleep becomes `slept`, unless
/// the report says whether it slept. Throws DecodingError or an error of the JSON library.
void from_json(const Json& json, AwayReport& report);

} // namespace velmoran
