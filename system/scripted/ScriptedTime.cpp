#include "system/scripted/ScriptedTime.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmoran {

struct ScriptedTime::Timer {
    Due due;
    Seconds interval = 0; ///< 0 for a single shot
    std::function<void()> action;
};

ScriptedTime::ScriptedTime(Timestamp wallClock)
    : beginning_(wallClock),
      timers_(std::make_shared<std::map<Due, std::shared_ptr<Timer>>>()) {}

ScriptedTime::~ScriptedTime() = default;

Timestamp ScriptedTime::now() const {
    return beginning_ + elapsed_;
}

void ScriptedTime::post(std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(action));
}

Subscription ScriptedTime::after(Seconds delay, std::function<void()> action) {
    return add(delay, 0, std::move(action));
}

Subscription ScriptedTime::every(Seconds interval, std::function<void()> action) {
    // The comparison is also false for what isn't a number.
    const auto safe = interval > shortestInterval ? interval : shortestInterval;
    return add(safe, safe, std::move(action));
}

Subscription ScriptedTime::add(Seconds delay, Seconds interval, std::function<void()> action) {
    auto timer = std::make_shared<Timer>();
    timer->due = {sum(elapsed_, delay > 0 ? delay : 0), made_++};
    timer->interval = interval;
    timer->action = std::move(action);
    timers_->emplace(timer->due, timer);
    return Subscription([weak = std::weak_ptr(timers_), timer] {
        if (const auto timers = weak.lock()) {
            const auto found = timers->find(timer->due);
            if (found != timers->end() && found->second == timer) {
                timers->erase(found);
            }
        }
        timer->action = nullptr;
    });
}

// Decimal fractions don't add up in binary: 2.2 + 1.1 is a hair more than 3.3. Where the sum stands
// next to a whole number of nanoseconds, that number is what was meant.
Seconds ScriptedTime::sum(Seconds time, Seconds delay) {
    const auto exact = time + delay;
    const auto rounded = std::round(exact * 1e9) / 1e9;
    const auto tolerance = 4 * std::numeric_limits<double>::epsilon() * std::abs(exact);
    return std::abs(rounded - exact) <= tolerance ? rounded : exact;
}

void ScriptedTime::runPosted() {
    for (;;) {
        std::function<void()> action;
        {
            const std::lock_guard lock(mutex_);
            if (posted_.empty()) {
                return;
            }
            action = std::move(posted_.front());
            posted_.pop_front();
        }
        action();
    }
}

void ScriptedTime::advanceTo(Seconds elapsed) {
    runPosted();
    while (!timers_->empty() && timers_->begin()->first.first <= elapsed) {
        const auto timer = timers_->begin()->second;
        timers_->erase(timers_->begin());
        elapsed_ = std::max(elapsed_, timer->due.first);
        // A copy, since the action may drop its own handle.
        const auto action = timer->action;
        if (timer->interval > 0) {
            timer->due.first = sum(timer->due.first, timer->interval);
            timers_->emplace(timer->due, timer);
        } else {
            timer->action = nullptr;
        }
        action();
        runPosted();
    }
    elapsed_ = std::max(elapsed_, elapsed);
}

void ScriptedTime::advanceBy(Seconds by) {
    advanceTo(sum(elapsed_, by));
}

std::optional<Seconds> ScriptedTime::nextDue() const {
    if (timers_->empty()) {
        return std::nullopt;
    }
    return timers_->begin()->first.first;
}

} // namespace velmoran
