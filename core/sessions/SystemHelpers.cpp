#include "core/sessions/SystemHelpers.h"

#include <algorithm>

namespace velmoran::SystemHelpers {

namespace {

bool holds(const std::vector<AppIdentity>& apps, const AppIdentity& app) {
    return std::any_of(apps.begin(), apps.end(),
                       [&](const AppIdentity& other) { return other.isSameApp(app); });
}

/// The first of each id stays in its place.
std::vector<AppIdentity> withoutDuplicates(const std::vector<AppIdentity>& apps) {
    std::vector<AppIdentity> result;
    for (const auto& app : apps) {
        if (!holds(result, app)) {
            result.push_back(app);
        }
    }
    return result;
}

} // namespace

Microphone microphone(const std::vector<AppIdentity>& others,
                      const std::vector<AppIdentity>& helpers,
                      const std::vector<AppIdentity>& attributed) {
    if (helpers.empty()) {
        return {.apps = others, .owners = {}};
    }
    std::vector<AppIdentity> owners;
    for (const auto& app : attributed) {
        if (!holds(others, app) && !holds(helpers, app) && !app.isUnknown()) {
            owners.push_back(app);
        }
    }
    owners = withoutDuplicates(owners);
    const auto& behind = owners.empty() ? helpers : owners;
    auto apps = others;
    apps.insert(apps.end(), behind.begin(), behind.end());
    return {.apps = withoutDuplicates(apps), .owners = owners};
}

std::vector<AppIdentity> speaker(const std::vector<AppIdentity>& apps,
                                 const std::vector<AppIdentity>& helpers,
                                 const std::vector<AppIdentity>& owners) {
    if (owners.size() != 1) {
        return apps;
    }
    auto result = apps;
    for (auto& app : result) {
        if (holds(helpers, app)) {
            app = owners.front();
        }
    }
    return withoutDuplicates(result);
}

} // namespace velmoran::SystemHelpers
