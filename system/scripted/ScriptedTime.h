// Time that stands still until it is told to go on: the clock and the scheduler of tests, replays
// and whatever else has to give the same answer every time. Owned by whoever advances it. Posting
// is safe from any thread; all else belongs to the owner's.
#pragma once

#include "core/base/Scheduler.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace velmoran {

class ScriptedTime final : public Clock, public Scheduler {
public:
    /// `wallClock` is what the clock says when nothing has passed yet.
    explicit ScriptedTime(Timestamp wallClock = {794136600.0});
    ~ScriptedTime() override;

    /// The beginning plus what has passed.
    Timestamp now() const override;
    /// Somebody sets the clock, which goes on from there. What has passed and the timers stay.
    void setClock(Timestamp time) { beginning_ = time - elapsed_; }
    /// Seconds that have passed since the beginning.
    Seconds elapsed() const { return elapsed_; }

    void post(std::function<void()> action) override;
    [[nodiscard]] Subscription after(Seconds delay, std::function<void()> action) override;
    [[nodiscard]] Subscription every(Seconds interval, std::function<void()> action) override;

    /// Runs what was posted, and what that posts, until nothing is left.
    void runPosted();
    /// Runs what was posted and all timers that are due up to and including that many seconds after
    /// the beginning, in the order of their times, equal ones in the order of their making; timers
    /// that are made meanwhile take part. Each finds the clock at its own time, and what it posts
    /// runs before the next one. A time in the past only runs what was posted.
    void advanceTo(Seconds elapsed);
    /// `advanceTo` that much later than now.
    void advanceBy(Seconds by);

    /// When the next timer is due; nothing if there is none.
    std::optional<Seconds> nextDue() const;

    /// Shorter intervals count as this one, so that time can't stand still under a repeating timer.
    static constexpr Seconds shortestInterval = 1e-3;

private:
    struct Timer;
    using Due = std::pair<Seconds, std::uint64_t>;

    Subscription add(Seconds delay, Seconds interval, std::function<void()> action);
    static Seconds sum(Seconds time, Seconds delay);

    Timestamp beginning_;
    Seconds elapsed_ = 0;
    std::uint64_t made_ = 0;
    /// Shared with the handles, which may outlive this.
    std::shared_ptr<std::map<Due, std::shared_ptr<Timer>>> timers_;
    std::mutex mutex_;
    std::deque<std::function<void()>> posted_;
};

} // namespace velmoran
