// What the user has decided about the app of a row of activity, and what can be decided anew. A
// plain value; main thread, as the model that it changes.
#pragma once

#include "app/model/AppModel.h"
#include "core/history/ActivityRow.h"
#include "core/trust/TrustList.h"

#include <vector>

namespace velmoran {

enum class TrustChange { trust, distrust, alwaysWarn, stopAlwaysWarning };

struct TrustChoice {
    AppIdentity app;
    std::vector<Device> devices; ///< the row's, without the speaker: that has no trust
    bool allTrusted = false;     ///< there are devices, and the app is trusted with each
    bool allWarning = false;     ///< there are devices, and each use of one is told

    static TrustChoice of(const ActivityRow& row, const TrustList& trust);

    /// False where no rule can be written: without a device, and for an app that can't be named.
    bool canChange() const { return !devices.empty() && !app.cannotBeNamed(); }
    /// What a press on the one and on the other switch asks for.
    TrustChange ofTrustSwitch() const;
    TrustChange ofWarnSwitch() const;
    /// Holds for what starts later; what is recorded keeps its level.
    void apply(TrustChange change, AppModel& model) const;

    bool operator==(const TrustChoice&) const = default;
};

} // namespace velmoran
