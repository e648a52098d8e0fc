// How loudly the user is told that a session began: a pure function of the user's decisions. Any
// thread.
#pragma once

#include "core/records/AppIdentity.h"
#include "core/records/Device.h"
#include "core/records/WarningLevel.h"
#include "core/trust/TrustList.h"

#include <optional>

namespace velmoran::WarningPolicy {

/// Nothing means no notice and no recorded level at all (the speaker); `quiet` means that the level
/// is recorded but nothing is shown.
std::optional<WarningLevel> level(const AppIdentity& app, Device device, const TrustList& trust,
                                  bool awayWatchOn);

} // namespace velmoran::WarningPolicy
