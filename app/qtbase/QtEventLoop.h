// Time and later work on Qt's event loop: the real clock and scheduler of the program. One per
// program, made by `main` beside the application object on the main thread, which runs the loop.
// Costs nothing while nothing is due.
#pragma once

#include "core/base/Scheduler.h"

#include <memory>

namespace velmoran {

class QtEventLoop final : public Clock, public Scheduler {
public:
    QtEventLoop();
    /// What was posted and hasn't run yet is dropped. Nobody may post any more.
    ~QtEventLoop() override;

    Timestamp now() const override;

    void post(std::function<void()> action) override;
    /// Never early. Not by more than a millisecond late, unless the thread is busy.
    [[nodiscard]] Subscription after(Seconds delay, std::function<void()> action) override;
    /// The same. Ordinary time where the system has no descriptor left for it.
    [[nodiscard]] Subscription afterAwakeOrAsleep(Seconds delay,
                                                  std::function<void()> action) override;
    /// Intervals of a second and more may shift by a twentieth, so that several timers share one
    /// wake-up of the machine.
    [[nodiscard]] Subscription every(Seconds interval, std::function<void()> action) override;

private:
    class Receiver;
    std::shared_ptr<Receiver> receiver_;
};

} // namespace velmoran
