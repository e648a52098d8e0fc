#include "app/contents/TrustChoice.h"

#include <algorithm>

namespace velmoran {

TrustChoice TrustChoice::of(const ActivityRow& row, const TrustList& trust) {
    TrustChoice choice{.app = row.app(), .devices = row.devices};
    std::erase(choice.devices, Device::speaker);
    const auto all = [&](auto holds) {
        return !choice.devices.empty() && std::ranges::all_of(choice.devices, holds);
    };
    choice.allTrusted = all([&](Device device) { return trust.isTrusted(choice.app, device); });
    choice.allWarning = all([&](Device device) { return trust.alwaysWarns(choice.app, device); });
    return choice;
}

TrustChange TrustChoice::ofTrustSwitch() const {
    return allTrusted ? TrustChange::distrust : TrustChange::trust;
}

TrustChange TrustChoice::ofWarnSwitch() const {
    return allWarning ? TrustChange::stopAlwaysWarning : TrustChange::alwaysWarn;
}

void TrustChoice::apply(TrustChange change, AppModel& model) const {
    switch (change) {
    case TrustChange::trust:
    case TrustChange::distrust:
        model.setTrusted(change == TrustChange::trust, app, devices);
        return;
    case TrustChange::alwaysWarn:
    case TrustChange::stopAlwaysWarning:
        model.setAlwaysWarn(change == TrustChange::alwaysWarn, app, devices);
        return;
    }
}

} // namespace velmoran
