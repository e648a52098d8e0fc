// Notes whom the apps of open sessions are talking to while they use a device. Asks the machine,
// which answers when it can, and writes what is new into the engine's sessions. Owned by the model;
// main thread.
#pragma once

#include "core/base/MainThread.h"
#include "core/sessions/SessionEngine.h"
#include "system/Machine.h"

#include <functional>
#include <vector>

namespace velmoran {

class ConnectionSampler {
public:
    struct Reports {
        /// Peers were added to that open session, which has them by now.
        std::function<void(const UsageSession&, const std::vector<ConnectionRecord>&)> added;
        /// All that one answer has added was reported, and it was anything.
        std::function<void()> anyAdded;
    };
    struct Seams {
        Connections& connections;
        const Clock& clock;
        Scheduler& scheduler;
        SessionEngine& engine;
    };

    /// The seams outlive this.
    ConnectionSampler(Seams seams, Reports reports);

    /// Looks up the peers of what is open now; the answer comes later. Asked again meanwhile, it
    /// does so once more after that answer.
    void sample();

private:
    void add(const std::vector<UsageSession>& sampled, Timestamp seen,
             const Connections::Found& found);

    Seams seams_;
    Reports reports_;
    bool isSampling_ = false;
    bool sampleAgain_ = false; ///< something has changed since the sampling began
    MainThread mainThread_;
};

} // namespace velmoran
