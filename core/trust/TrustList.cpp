#include "core/trust/TrustList.h"

#include "core/text/Localizer.h"

#include <algorithm>

namespace velmoran {

namespace {

bool belongsTo(TrustKind rule, TrustKind list) {
    switch (list) {
    case TrustKind::trusted:
        return isTrusted(rule);
    case TrustKind::alwaysWarn:
        return alwaysWarns(rule);
    case TrustKind::trustedAlwaysWarn:
        break;
    }
    return rule == list;
}

} // namespace

std::string TrustRule::id() const {
    return app.id + "|" + std::string(rawValue(device));
}

std::optional<TrustKind> TrustList::kind(const AppIdentity& app, Device device) const {
    // Before any rule: a hand-edited store may hold one for it.
    if (app.cannotBeNamed()) {
        return std::nullopt;
    }
    for (const auto& rule : rules_) {
        if (rule.device == device && rule.app.isSameApp(app) && rule.app.teamID == app.teamID) {
            return rule.kind;
        }
    }
    return std::nullopt;
}

bool TrustList::isTrusted(const AppIdentity& app, Device device) const {
    const auto found = kind(app, device);
    return found && velmoran::isTrusted(*found);
}

bool TrustList::alwaysWarns(const AppIdentity& app, Device device) const {
    const auto found = kind(app, device);
    return found && velmoran::alwaysWarns(*found);
}

void TrustList::setTrusted(bool trusted, const AppIdentity& app,
                           const std::vector<Device>& devices) {
    for (const auto device : devices) {
        replace(trustKindOf(trusted, alwaysWarns(app, device)), app, device);
    }
}

void TrustList::setAlwaysWarn(bool alwaysWarn, const AppIdentity& app,
                              const std::vector<Device>& devices) {
    for (const auto device : devices) {
        replace(trustKindOf(isTrusted(app, device), alwaysWarn), app, device);
    }
}

void TrustList::set(std::optional<TrustKind> kind, const AppIdentity& app,
                    const std::vector<Device>& devices) {
    for (const auto device : devices) {
        replace(kind, app, device);
    }
}

void TrustList::replace(std::optional<TrustKind> kind, const AppIdentity& app, Device device) {
    if (app.cannotBeNamed() || device == Device::speaker) {
        return;
    }
    std::erase_if(rules_, [&](const TrustRule& rule) {
        return rule.app.id == app.id && rule.device == device;
    });
    if (kind) {
        rules_.push_back({app, device, *kind});
    }
}

std::vector<TrustList::Entry> TrustList::entries(TrustKind kind) const {
    return entries(kind, words());
}

std::vector<TrustList::Entry> TrustList::entries(TrustKind kind, const Localizer& localizer) const {
    std::vector<Entry> result;
    for (const auto& rule : rules_) {
        if (!belongsTo(rule.kind, kind)) {
            continue;
        }
        auto group = std::find_if(result.begin(), result.end(),
                                  [&](const Entry& entry) { return entry.app.id == rule.app.id; });
        if (group == result.end()) {
            group = result.insert(result.end(), {rule.app, {}});
        }
        group->devices.push_back(rule.device);
    }
    for (auto& entry : result) {
        std::sort(entry.devices.begin(), entry.devices.end());
    }
    std::stable_sort(result.begin(), result.end(), [&](const Entry& a, const Entry& b) {
        return localizer.compareIgnoringCase(a.app.name, b.app.name) < 0;
    });
    return result;
}

} // namespace velmoran
