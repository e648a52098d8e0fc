// The one thread on which Linux is read: an epoll loop that waits for descriptors, for timers and
// for work posted by others, and sleeps while there is none. Owned by the machine, which outlives
// everything that is read on it; the thread runs from the constructor to the destructor.
#pragma once

#include "core/base/Scheduler.h"
#include "system/Machine.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

namespace velmoran {

/// A turn of the loop calls the watchers of ready descriptors, then timers that are due, then what
/// had been posted until then. What is posted on the loop's own thread by a watcher or a timer so
/// runs at the end of the same turn. Handles may be dropped on any thread, inside their own
/// callback too, and may outlive the loop; only on the loop's thread is it certain that no call is
/// under way when the drop returns.
class EventLoop : public SerialQueue, public Scheduler {
public:
    /// Throws std::system_error if the kernel gives no descriptors. The thread takes no signals.
    EventLoop();
    /// Ends after the callback that is running; what is still posted is dropped unrun, on the
    /// caller's thread. Not on the loop's own thread.
    ~EventLoop() override;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    void post(std::function<void()> action) override;
    [[nodiscard]] Subscription every(Seconds interval, std::function<void()> action) override;
    [[nodiscard]] Subscription after(Seconds delay, std::function<void()> action) override;

    /// Level-triggered; `events` and the callback's argument are epoll's. The descriptor stays the
    /// caller's and must be open until the handle is gone; it can be watched once at a time. The
    /// handle is empty if the kernel refuses to watch it (a plain file, for instance).
    [[nodiscard]] Subscription watch(int descriptor, std::uint32_t events,
                                     std::function<void(std::uint32_t)> callback);

    /// Runs it on the loop's thread and waits; at once when called there. False if the loop ended
    /// first and the action never ran.
    bool runAndWait(std::function<void()> action);
    bool isOnThread() const { return std::this_thread::get_id() == thread_.get_id(); }

private:
    struct State;

    std::shared_ptr<State> state_;
    std::thread thread_;
};

} // namespace velmoran
