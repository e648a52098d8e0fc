#include "core/warnings/UseWording.h"

#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"

#include <algorithm>

namespace velmoran::UseWording {

std::vector<std::string> lines(const std::vector<UsageSession>& open) {
    struct Use {
        AppIdentity app;
        std::vector<Device> devices;
    };
    std::vector<Use> uses;
    for (const auto& session : open) {
        if (session.device == Device::speaker) {
            continue;
        }
        const auto& app = session.app.cannotBeNamed() ? AppIdentity::unknown() : session.app;
        auto known =
            std::ranges::find_if(uses, [&](const Use& use) { return use.app.isSameApp(app); });
        if (known == uses.end()) {
            known = uses.insert(uses.end(), {.app = app, .devices = {}});
        }
        known->devices.push_back(session.device);
    }
    std::vector<std::string> sentences;
    for (const auto& use : uses) {
        if (sentences.size() == mostApps) {
            sentences.emplace_back("…");
            break;
        }
        sentences.push_back(
            words().text("%@ is using %@", {use.app.name, DeviceWording::the(use.devices)}));
    }
    return sentences;
}

} // namespace velmoran::UseWording
