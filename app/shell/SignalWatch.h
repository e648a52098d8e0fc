// Turns the signals that ask a program to end into a call on the main thread. Owned by `main`,
// which makes it before any other thread, so that they all inherit the blocked signals.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace velmoran {

class SignalWatch {
public:
    /// SIGINT, SIGTERM and SIGHUP.
    explicit SignalWatch(std::function<void()> ended);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Once there is an event loop.
    void start();

private:
    int descriptor_ = -1;
    std::function<void()> ended_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace velmoran
