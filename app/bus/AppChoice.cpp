#include "app/bus/AppChoice.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <functional>

namespace velmoran {

namespace {

/// The name of one that is known by its path, without the folder that stands behind it.
std::string_view plainName(const AppIdentity& app) {
    const std::string_view name = app.name;
    return app.bundleID ? name : name.substr(0, name.find(" ("));
}

} // namespace

std::vector<std::string> namesWithIDs(const std::vector<AppIdentity>& apps) {
    std::vector<std::string> names;
    for (const auto& app : apps) {
        names.push_back(app.id == app.name ? app.name : app.name + " (" + app.id + ")");
    }
    return names;
}

std::string ambiguityError(const std::string& text, const std::vector<AppIdentity>& meant) {
    return words().text("“%@” may be any of these: %@. Name it by what stands in brackets.",
                        {text, words().list(namesWithIDs(meant))});
}

std::vector<AppIdentity> stoppableApps(const std::vector<UsageSession>& open) {
    std::vector<AppIdentity> apps;
    for (const auto& session : open) {
        const auto isSame = [&](const AppIdentity& app) {
            return app.isSameApp(session.app);
        };
        if (session.device != Device::speaker && std::none_of(apps.begin(), apps.end(), isSame)) {
            apps.push_back(session.app);
        }
    }
    return apps;
}

std::vector<AppIdentity> matchingApps(std::string_view text, const std::vector<AppIdentity>& apps) {
    const std::vector<std::function<bool(const AppIdentity&)>> ways = {
        [&](const AppIdentity& app) { return app.id == text; },
        [&](const AppIdentity& app) { return app.bundleID == text || app.path == text; },
        [&](const AppIdentity& app) { return app.name == text; },
        [&](const AppIdentity& app) { return words().compareIgnoringCase(app.name, text) == 0; },
        [&](const AppIdentity& app) {
            return words().compareIgnoringCase(plainName(app), text) == 0;
        },
    };
    std::vector<AppIdentity> meant;
    for (const auto& way : ways) {
        std::copy_if(apps.begin(), apps.end(), std::back_inserter(meant), way);
        if (!meant.empty()) {
            break;
        }
    }
    return meant;
}

std::string choiceError(const std::string& text, const std::vector<AppIdentity>& meant,
                        const std::vector<AppIdentity>& apps) {
    if (!meant.empty()) {
        return ambiguityError(text, meant);
    }
    const auto unused = words().text("“%@” isn't using the camera or microphone.", {text});
    return unused + " " +
           (apps.empty() ? words().text("Nothing is.")
                         : words().text("These are: %@.", {words().list(namesWithIDs(apps))}));
}

} // namespace velmoran
