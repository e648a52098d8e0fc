// Makes one snapshot from what was read. Pure but for the naming of apps, which is asked for just
// the running ones; runs from recorded lists as well as from a machine.
#pragma once

#include "core/records/SystemSnapshot.h"
#include "system/Machine.h"

#include <optional>
#include <vector>

namespace velmoran {

/// Lists keep their order, and of apps with the same id the first stays. Attributed apps count only
/// while their device runs, whatever the table says.
SystemSnapshot buildSnapshot(const std::vector<AudioProcess>& processes,
                             const std::vector<CameraDeviceInfo>& cameras,
                             const AttributionTable& attributions,
                             std::optional<OutputDeviceInfo> output, AppNames& names);

} // namespace velmoran
