// What changed about a session at one reading. A plain value; any thread.
#pragma once

#include "core/records/RawValue.h"
#include "core/records/UsageSession.h"

namespace velmoran {

struct SessionEvent {
    enum class Kind {
        started,
        reattributed, ///< the app of an unknown session became known; id and start stayed
        ended,
    };

    Kind kind = Kind::started;
    UsageSession session; ///< as it stands after the change

    bool operator==(const SessionEvent&) const = default;
};

constexpr std::array<std::string_view, 3> caseNames(SessionEvent::Kind) {
    return {"started", "reattributed", "ended"};
}

} // namespace velmoran
