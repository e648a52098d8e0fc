// Reports of the away watch, made in one line.
#pragma once

#include "app/contents/Sessions.h"
#include "core/away/AwayReport.h"

#include <string>
#include <utility>

namespace velmoran::testing {

inline AwayEvent eventAt(Timestamp time, AwayEventKind kind = AwayEventKind::keyboardUsed,
                         std::optional<std::string> detail = {}) {
    return {.id = Uuid::random(), .kind = kind, .time = time, .detail = std::move(detail)};
}

/// From 10:00 of that day to half past.
inline AwayReport reportOf(std::vector<AwayEvent> events, std::vector<AwayEvent> ownReturn = {},
                           Timestamp day = midnight) {
    return {.id = Uuid::random(),
            .start = day + 10 * hour,
            .end = day + 10.5 * hour,
            .events = std::move(events),
            .slept = false,
            .ownReturn = std::move(ownReturn)};
}

/// So many events, in many words.
inline AwayReport longReport(int events) {
    std::vector<AwayEvent> all;
    for (int index = 0; index < events; ++index) {
        const auto time = midnight + 10 * hour + index * 0.1;
        switch (index % 4) {
        case 0:
            all.push_back(eventAt(time));
            break;
        case 1:
            all.push_back(eventAt(time, AwayEventKind::mouseUsed));
            break;
        case 2:
            all.push_back(
                eventAt(time, AwayEventKind::lidMoved,
                        std::to_string(index % 360) + " " + std::to_string(index * 7 % 360)));
            break;
        default:
            all.push_back(eventAt(time, AwayEventKind::devicePluggedIn,
                                  "A stick with number " + std::to_string(index) +
                                      " and a name that takes more than one line"));
        }
    }
    return reportOf(std::move(all));
}

} // namespace velmoran::testing
