// Something that is told on one thread and heard of on another. The handles may outlive it.
#pragma once

#include "core/base/Observable.h"

#include <memory>
#include <mutex>
#include <utility>

namespace velmoran {

/// Any thread. Once a handle was dropped no call is under way, unless it was dropped within that
/// call.
template <class... Arguments>
class SharedEvent {
public:
    using Callback = typename Event<Arguments...>::Callback;

    [[nodiscard]] Subscription subscribe(Callback callback) const {
        const std::lock_guard lock(state_->mutex);
        const auto handle =
            std::make_shared<Subscription>(state_->event.subscribe(std::move(callback)));
        return Subscription([state = state_, handle] {
            const std::lock_guard guard(state->mutex);
            handle->reset();
        });
    }

    void operator()(Arguments... arguments) const {
        const std::lock_guard lock(state_->mutex);
        state_->event(arguments...);
    }

private:
    struct State {
        std::recursive_mutex mutex; ///< a receiver may drop its handle
        Event<Arguments...> event;
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace velmoran
