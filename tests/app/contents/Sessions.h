// Sessions as they stand in a history, made in one line.
#pragma once

#include "core/history/ActivityRow.h"

#include <optional>
#include <string>

namespace velmoran::testing {

/// Wednesday, 4 March 2026, 00:00 UTC.
inline constexpr Timestamp midnight{794275200};
inline constexpr Seconds hour = 3600;
inline constexpr Seconds day = 86400;

inline AppIdentity appNamed(const std::string& name) {
    AppIdentity app;
    app.id = "org.example." + name;
    app.name = name;
    return app;
}

/// Without an end it is open.
inline UsageSession sessionOf(const std::string& app, Device device, Timestamp start,
                              std::optional<Timestamp> end = {}) {
    UsageSession session;
    session.id = Uuid::random();
    session.device = device;
    session.app = appNamed(app);
    session.start = start;
    session.end = end;
    if (end) {
        session.outcome = SessionOutcome::endedNormally;
    }
    return session;
}

inline SessionRef shared(UsageSession session) {
    return std::make_shared<const UsageSession>(std::move(session));
}

} // namespace velmoran::testing
