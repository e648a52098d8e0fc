// A clock that never runs back: whoever sets the machine's own back makes no end come before its
// start. Reads the clock behind it, which outlives it, and remembers what that said last; one
// thread.
#pragma once

#include "core/base/Scheduler.h"

#include <algorithm>

namespace velmoran {

class ForwardClock final : public Clock {
public:
    explicit ForwardClock(const Clock& clock) : clock_(clock) {}

    /// What the clock behind it says. After that was set back the time stands, until it has caught
    /// up.
    Timestamp now() const override {
        latest_ = std::max(latest_, read());
        return latest_;
    }

    /// For measuring how long something has been going on, and for nothing else: the same with all
    /// that was taken from the clock added again, so that it also goes on while `now` stands.
    Timestamp elapsing() const {
        const auto time = read();
        return time + taken_;
    }

private:
    Timestamp read() const {
        const auto time = clock_.now();
        taken_ += std::max(0.0, last_ - time);
        last_ = time;
        return time;
    }

    const Clock& clock_;
    mutable Timestamp last_ = clock_.now();
    mutable Timestamp latest_ = last_;
    mutable Seconds taken_ = 0;
};

} // namespace velmoran
