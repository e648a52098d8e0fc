#include "app/bus/TrustChoice.h"

#include "app/bus/AppChoice.h"
#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"

#include <algorithm>

namespace velmoran {

namespace {

/// Of others that a file may hold there is no lookup.
bool counts(const TrustRule& rule) {
    return isTrusted(rule.kind) && rule.device != Device::speaker && !rule.app.cannotBeNamed();
}

} // namespace

std::string TakenTrust::sentence() const {
    return words().text("%@ is no longer trusted with %@.",
                        {app.name, DeviceWording::the(devices)});
}

std::vector<AppIdentity> trustedApps(const TrustList& list) {
    std::vector<AppIdentity> apps;
    for (const auto& rule : list.rules()) {
        const auto isSame = [&](const AppIdentity& app) {
            return app.id == rule.app.id;
        };
        if (counts(rule) && std::none_of(apps.begin(), apps.end(), isSame)) {
            apps.push_back(rule.app);
        }
    }
    return apps;
}

std::optional<TakenTrust> trustOf(const TrustList& list, const AppIdentity& app,
                                  std::optional<Device> device) {
    TakenTrust taken{app, {}, {}};
    for (const auto& rule : list.rules()) {
        if (counts(rule) && rule.app.id == app.id && (!device || rule.device == *device)) {
            taken.rules.push_back(rule);
            taken.devices.push_back(rule.device);
        }
    }
    std::sort(taken.devices.begin(), taken.devices.end());
    taken.devices.erase(std::unique(taken.devices.begin(), taken.devices.end()),
                        taken.devices.end());
    return taken.rules.empty() ? std::nullopt : std::optional(taken);
}

std::string trustError(const std::string& text, const std::vector<AppIdentity>& meant,
                       const std::vector<AppIdentity>& trusted) {
    if (!meant.empty()) {
        return ambiguityError(text, meant);
    }
    const auto unknown = words().text("“%@” isn't trusted.", {text});
    return unknown + " " +
           (trusted.empty()
                ? words().text("No app is.")
                : words().text("Trusted are: %@.", {words().list(namesWithIDs(trusted))}));
}

std::string trustError(const AppIdentity& app, Device device) {
    return words().text("%@ isn't trusted with %@.", {app.name, DeviceWording::the({device})});
}

} // namespace velmoran
