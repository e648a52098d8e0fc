// How an object of the main thread is reached from elsewhere: its actions run there, and only while
// it lives. Held by that object, as its last member, so that it goes first; made and destroyed on
// the main thread. What it gives away may be called on any thread, also when it has gone.
#pragma once

#include "core/base/Scheduler.h"

#include <functional>
#include <memory>
#include <tuple>
#include <utility>

namespace velmoran {

class MainThread {
public:
    /// The main thread's, which outlives whatever this gives away.
    explicit MainThread(Scheduler& scheduler) : scheduler_(scheduler) {}
    MainThread(const MainThread&) = delete;
    MainThread& operator=(const MainThread&) = delete;
    ~MainThread() = default;

    /// A callback that runs the action in the call. To be called on the main thread.
    template <class Action>
    auto whileAlive(Action action) const {
        return
            [alive = std::weak_ptr(alive_), action = std::move(action)](const auto&... arguments) {
                if (!alive.expired()) {
                    action(arguments...);
                }
            };
    }

    /// A callback that lets the main thread run the action, with copies of the arguments.
    template <class Action>
    auto later(Action action) const {
        return
            [&scheduler = scheduler_, action = whileAlive(std::move(action))]<class... Arguments>(
                const Arguments&... arguments) {
                scheduler.post([action, copies = std::tuple<Arguments...>(arguments...)] {
                    std::apply(action, copies);
                });
            };
    }

    /// Lets the main thread run the action, never in this call.
    void post(std::function<void()> action) const { later(std::move(action))(); }

private:
    Scheduler& scheduler_;
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

} // namespace velmoran
