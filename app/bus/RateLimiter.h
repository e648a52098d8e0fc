// How often something may be done in a row: so many times at once, and once more after each
// interval. Owned by whoever does it; main thread. Costs nothing while it is full.
#pragma once

#include "core/base/Scheduler.h"

namespace velmoran {

class RateLimiter {
public:
    /// The scheduler outlives this.
    RateLimiter(Scheduler& scheduler, int atOnce, Seconds interval)
        : scheduler_(scheduler),
          atOnce_(atOnce),
          interval_(interval) {}

    /// False if it was done too often just now.
    bool allow() {
        if (used_ >= atOnce_) {
            return false;
        }
        ++used_;
        if (!refill_) {
            refill_ = scheduler_.every(interval_, [this] {
                if (--used_ == 0) {
                    refill_.reset();
                }
            });
        }
        return true;
    }

private:
    Scheduler& scheduler_;
    int atOnce_;
    Seconds interval_;
    int used_ = 0;
    Subscription refill_;
};

} // namespace velmoran
