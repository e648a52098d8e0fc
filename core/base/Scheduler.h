// Time as an argument: what the time is, and what is to happen later. The real ones stand on an
// event loop, the scripted ones advance by command. Nothing else in the program asks a clock.
#pragma once

#include "core/base/Subscription.h"
#include "core/base/Timestamp.h"

#include <functional>
#include <utility>

namespace velmoran {

class Clock {
public:
    virtual ~Clock() = default;
    virtual Timestamp now() const = 0;
};

/// Runs actions on one thread, never inside the call that asks for them. `post` may be called from
/// any thread; the rest, and dropping a handle, only on the scheduler's own.
class Scheduler {
public:
    virtual ~Scheduler() = default;
    /// As soon as the present work is done, in the order of posting.
    virtual void post(std::function<void()> action) = 0;
    /// Once, that many seconds from now, in which the machine is awake; not at all if the handle
    /// goes first.
    [[nodiscard]] virtual Subscription after(Seconds delay, std::function<void()> action) = 0;
    /// Every so many seconds, the first time after one interval, until the handle goes.
    [[nodiscard]] virtual Subscription every(Seconds interval, std::function<void()> action) = 0;
    /// As `after`, but the time that the machine sleeps counts too: what became due meanwhile is
    /// done on waking. The same as `after` for time that knows no sleep.
    [[nodiscard]] virtual Subscription afterAwakeOrAsleep(Seconds delay,
                                                          std::function<void()> action) {
        return after(delay, std::move(action));
    }
};

} // namespace velmoran
