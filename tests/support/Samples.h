// Records as the tests of the core need them.
#pragma once

#include "core/records/UsageSession.h"

#include <string>

namespace velmoran {

inline AppIdentity app(const std::string& id, std::optional<std::string> teamID = {}) {
    return {
        .id = id, .name = "Name of " + id, .bundleID = {}, .path = {}, .teamID = std::move(teamID)};
}

/// A process that can't be named, under an id as the readers give it.
inline AppIdentity unidentified(const std::string& key) {
    auto hidden = app("unidentified:" + key);
    hidden.unidentified = true;
    return hidden;
}

inline UsageSession sessionOf(const AppIdentity& user, Device device, Timestamp start) {
    return {.id = Uuid::random(),
            .device = device,
            .app = user,
            .start = start,
            .end = {},
            .outcome = {},
            .warningLevel = {},
            .connections = {},
            .observedFromStart = true};
}

} // namespace velmoran
