// A clock that nobody sets: it runs on while the machine is awake, from a beginning that means
// nothing. For lengths of time alone. Any thread.
#pragma once

#include "core/base/Scheduler.h"

#include <chrono>

namespace velmoran {

struct SteadyClock final : Clock {
    Timestamp now() const override {
        return {std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
                    .count()};
    }
};

} // namespace velmoran
