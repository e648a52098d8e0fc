// A piece of state that others want to hear about. One thread at a time: its owner's, or whoever
// holds the owner's lock.
#pragma once

#include "core/base/Subscription.h"

#include <functional>
#include <list>
#include <memory>
#include <utility>

namespace velmoran {

/// Callbacks in the order of subscribing. A callback may subscribe, unsubscribe and notify.
template <class... Arguments>
class Event {
public:
    using Callback = std::function<void(Arguments...)>;

    [[nodiscard]] Subscription subscribe(Callback callback) {
        auto entry = std::make_shared<Callback>(std::move(callback));
        callbacks_->push_back(entry);
        return Subscription([weak = std::weak_ptr(callbacks_), entry] {
            *entry = nullptr; // also ends one that is being walked over right now
            if (const auto list = weak.lock()) {
                list->remove(entry);
            }
        });
    }

    void operator()(Arguments... arguments) const {
        const auto walk = *callbacks_;
        for (const auto& entry : walk) {
            if (const auto callback = *entry) {
                callback(arguments...);
            }
        }
    }

private:
    std::shared_ptr<std::list<std::shared_ptr<Callback>>> callbacks_ =
        std::make_shared<std::list<std::shared_ptr<Callback>>>();
};

/// A value with a notification after each change to an unequal one.
template <class T>
class Observable {
public:
    Observable() = default;
    explicit Observable(T value) : value_(std::move(value)) {}

    const T& get() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    void set(T value) {
        if (value == value_) {
            return;
        }
        value_ = std::move(value);
        changed_(value_);
    }

    [[nodiscard]] Subscription subscribe(std::function<void(const T&)> callback) {
        return changed_.subscribe(std::move(callback));
    }

private:
    T value_{};
    Event<const T&> changed_;
};

} // namespace velmoran
