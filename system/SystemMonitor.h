// The one place where the state of camera, microphone and sound output enters the program. Looks at
// the machine every two seconds, at each change that the machine tells of and at each report of who
// uses what, and hands on a snapshot whenever it differs from the last. Owned by the machine; all
// its state belongs to the monitor's queue.
#pragma once

#include "core/records/SystemSnapshot.h"
#include "system/Machine.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>

namespace velmoran {

class SystemMonitor final : public SnapshotSource {
public:
    /// What the readings refer to outlives the monitor's queue.
    explicit SystemMonitor(MonitorReadings readings);
    ~SystemMonitor() override;

    void start(std::function<void(const SystemSnapshot&)> handler) override;
    /// Waits for the attribution's own queue, not for the monitor's. A later `start` only stores
    /// its handler: there is no way back.
    void stop() override;

    static constexpr Seconds pollInterval = 2.0;

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace velmoran
