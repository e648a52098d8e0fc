// Maps processes that hold the microphone or play sound on behalf of an app to that app. Pure; any
// thread.
#pragma once

#include "core/records/AppIdentity.h"

#include <vector>

namespace velmoran::SystemHelpers {

struct Microphone {
    std::vector<AppIdentity> apps;   ///< who counts as using the microphone
    std::vector<AppIdentity> owners; ///< the apps found behind the helpers

    bool operator==(const Microphone&) const = default;
};

/// `helpers` and `others` together hold the input; `attributed` are those whom the system's own
/// indicator names. Who is named there without holding the input is an owner, and the owners stand
/// in for the helpers. With no owner the helpers themselves count.
Microphone microphone(const std::vector<AppIdentity>& others,
                      const std::vector<AppIdentity>& helpers,
                      const std::vector<AppIdentity>& attributed);

/// `apps` with each helper replaced by the owner, if there is exactly one; of two nobody can tell
/// whose sound it is.
std::vector<AppIdentity> speaker(const std::vector<AppIdentity>& apps,
                                 const std::vector<AppIdentity>& helpers,
                                 const std::vector<AppIdentity>& owners);

} // namespace velmoran::SystemHelpers
