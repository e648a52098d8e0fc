// Notices when the machine wasn't being looked at for a while, in this run or before it. Owned by
// the machine; on the monitor's queue.
#pragma once

#include "core/records/WatchGap.h"

#include <functional>
#include <optional>

namespace velmoran {

class GapWatch {
public:
    struct Moment {
        Timestamp time;   ///< of day
        Seconds boot = 0; ///< since the machine was started, asleep or awake
    };

    struct Seams {
        std::function<Moment()> now;
        /// When it was looked last before this run; nothing if that isn't known.
        std::optional<Timestamp> before;
        /// Keeps the present moment as that, for the next run.
        std::function<void()> keep = [] {
        };
    };

    /// A machine that is looked at every `interval` is watched.
    GapWatch(Seconds interval, Seams seams);

    /// The machine is being looked at.
    void noteLook();
    /// The last time in which it wasn't.
    const std::optional<WatchGap>& last() const { return last_; }

    /// A look may come so much later than it should: a busy machine makes all wait.
    static constexpr Seconds tolerance = 1.0;
    /// From one keeping to the next.
    static constexpr Seconds keepInterval = 1.0;

private:
    Seconds interval_;
    Seams seams_;
    std::optional<Seconds> looked_; ///< by the boot clock
    Seconds kept_ = 0;
    std::optional<WatchGap> last_;
};

} // namespace velmoran
