#include "system/ThreadQueue.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace velmoran {

struct ThreadQueue::State {
    using Time = std::chrono::steady_clock;

    struct Timer {
        Time::duration interval;
        Time::time_point due;
        std::shared_ptr<std::function<void()>> action;
    };

    void run() {
        std::unique_lock lock(mutex);
        while (true) {
            if (!posted.empty()) {
                const auto action = std::move(posted.front());
                posted.pop_front();
                lock.unlock();
                action();
                lock.lock();
            } else if (ended) {
                return;
            } else if (const auto timer = next(); timer == timers.end()) {
                changed.wait(lock);
            } else if (const auto now = Time::now(); timer->due <= now) {
                timer->due = std::max(timer->due + timer->interval, now);
                // Kept alive by this copy, since the action may drop its own handle.
                const auto action = timer->action;
                lock.unlock();
                (*action)();
                lock.lock();
            } else {
                changed.wait_until(lock, timer->due);
            }
        }
    }

    std::vector<Timer>::iterator next() {
        return std::min_element(timers.begin(), timers.end(),
                                [](const Timer& a, const Timer& b) { return a.due < b.due; });
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> posted;
    std::vector<Timer> timers;
    bool ended = false;
};

ThreadQueue::ThreadQueue()
    : state_(std::make_shared<State>()),
      thread_([state = state_] { state->run(); }) {}

ThreadQueue::~ThreadQueue() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->ended = true;
    }
    state_->changed.notify_one();
    thread_.join();
}

void ThreadQueue::post(std::function<void()> action) {
    {
        const std::lock_guard lock(state_->mutex);
        state_->posted.push_back(std::move(action));
    }
    state_->changed.notify_one();
}

Subscription ThreadQueue::every(Seconds interval, std::function<void()> action) {
    const auto length = std::chrono::duration_cast<State::Time::duration>(
        std::chrono::duration<Seconds>(std::max(interval, 0.001)));
    auto call = std::make_shared<std::function<void()>>(std::move(action));
    {
        const std::lock_guard lock(state_->mutex);
        state_->timers.push_back(
            {.interval = length, .due = State::Time::now() + length, .action = call});
    }
    state_->changed.notify_one();
    return Subscription([weak = std::weak_ptr(state_), call] {
        if (const auto state = weak.lock()) {
            const std::lock_guard lock(state->mutex);
            std::erase_if(state->timers,
                          [&](const State::Timer& timer) { return timer.action == call; });
        }
    });
}

} // namespace velmoran
