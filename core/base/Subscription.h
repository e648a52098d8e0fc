// What keeps a callback, a timer or a listener alive. Dropping it ends the subscription; moving it
// hands that right on. Thread: that of whoever gave it, unless the giver says otherwise.
#pragma once

#include <functional>
#include <utility>

namespace velmoran {

class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            end_ = std::exchange(other.end_, nullptr);
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { reset(); }

    /// Ends it now; a second call does nothing.
    void reset() {
        if (auto end = std::exchange(end_, nullptr)) {
            end();
        }
    }
    /// True until it was reset or moved from. A one-shot timer that has fired still says true.
    explicit operator bool() const { return static_cast<bool>(end_); }

private:
    std::function<void()> end_;
};

} // namespace velmoran
