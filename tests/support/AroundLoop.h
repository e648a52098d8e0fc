// The loop of a test with its repeated work in the test's hand. Belongs to one test; its thread.
#pragma once

#include "core/base/Scheduler.h"

#include <functional>
#include <utility>

namespace velmoran::support {

/// Passes all on to the loop; a test says what becomes of `every`.
class AroundLoop : public Scheduler {
public:
    /// It has to outlive this object.
    explicit AroundLoop(Scheduler& loop) : loop_(loop) {}

    void post(std::function<void()> action) override { loop_.post(std::move(action)); }
    Subscription after(Seconds delay, std::function<void()> action) override {
        return loop_.after(delay, std::move(action));
    }
    Subscription every(Seconds interval, std::function<void()> action) override {
        return loop_.every(interval, std::move(action));
    }

private:
    Scheduler& loop_;
};

} // namespace velmoran::support
