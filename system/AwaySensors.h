// What a machine does while nobody sits at it, as a stream of signals: asks once a second for what
// can only be asked, and passes on what is announced. The decisions of that are here, the same for
// all machines. Owned by the model; main thread.
#pragma once

#include "core/away/AwaySignal.h"
#include "core/away/LidMovementDetector.h"
#include "core/base/MainThread.h"
#include "core/base/Scheduler.h"
#include "system/AwayReadings.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velmoran {

class AwaySensors {
public:
    using Handler = std::function<void(const AwaySignal&)>;

    /// Both outlive this; the scheduler is the main thread's.
    AwaySensors(AwayReadings& readings, Scheduler& scheduler);

    /// Stops whatever runs and begins anew. The handler is called on the main thread; it may stop
    /// this. What the machine is like now is no signal.
    void start(Handler handler);
    /// Nothing is asked, heard or sent any more. A second call does nothing.
    void stop();

    static constexpr Seconds interval = 1.0;
    /// An input counts as used if its last event is less than this ago.
    static constexpr Seconds recently = 1.2;
    /// So many angles after the lid was opened or closed, the one of the same tick among them, are
    /// where it rests.
    static constexpr int settlingTicks = 5;

private:
    void tick();
    void readInput();
    void readLid();
    void readLidAngle();
    void readPower();
    bool isUsed(InputEvent event);
    void send(const AwaySignal& signal);

    AwayReadings& readings_;
    Scheduler& scheduler_;
    Handler handler_;
    std::uint64_t run_ = 0; ///< what was announced to an earlier one comes too late
    std::optional<bool> lidClosed_;
    std::unique_ptr<LidAngle> lidAngle_;
    LidMovementDetector lidMovement_;
    int lidSettling_ = 0;
    std::optional<bool> onACPower_;
    Subscription timer_;
    Subscription announcements_;
    MainThread mainThread_;
};

} // namespace velmoran
