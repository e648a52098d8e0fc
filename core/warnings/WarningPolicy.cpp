#include "core/warnings/WarningPolicy.h"

namespace velmoran::WarningPolicy {

std::optional<WarningLevel> level(const AppIdentity& app, Device device, const TrustList& trust,
                                  bool awayWatchOn) {
    if (device == Device::speaker) {
        return std::nullopt;
    }
    if (app.cannotBeNamed() || awayWatchOn) {
        return WarningLevel::strong;
    }
    switch (trust.kind(app, device).value_or(TrustKind::trustedAlwaysWarn)) {
    case TrustKind::trusted:
        return WarningLevel::quiet;
    case TrustKind::alwaysWarn:
        return WarningLevel::strong;
    case TrustKind::trustedAlwaysWarn: // and no rule: the two halves cancel out
        break;
    }
    return WarningLevel::standard;
}

} // namespace velmoran::WarningPolicy
