// Rows of activity as the tests of contents need them.
#pragma once

#include "core/history/Activity.h"
#include "support/Samples.h"

#include <memory>
#include <vector>

namespace velmoran {

/// What `Activity` makes of these, which have to belong together.
inline ActivityRow rowOf(const std::vector<UsageSession>& sessions) {
    SessionList list;
    for (const auto& session : sessions) {
        list.push_back(std::make_shared<const UsageSession>(session));
    }
    return Activity::rows(list).at(0);
}

inline UsageSession ended(UsageSession session, Seconds after,
                          SessionOutcome outcome = SessionOutcome::endedNormally) {
    session.end = session.start + after;
    session.outcome = outcome;
    return session;
}

inline UsageSession endedUnknown(UsageSession session) {
    session.outcome = SessionOutcome::endUnknown;
    return session;
}

} // namespace velmoran
