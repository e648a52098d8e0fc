// A serial queue on a thread of its own, with nothing of a platform in it. Whoever makes it owns
// it; the thread runs from the constructor to the destructor.
#pragma once

#include "system/Machine.h"

#include <memory>
#include <thread>

namespace velmoran {

class ThreadQueue final : public SerialQueue {
public:
    ThreadQueue();
    /// Runs what has been posted until then, and no timer any more. Not on the queue itself.
    ~ThreadQueue() override;
    ThreadQueue(const ThreadQueue&) = delete;
    ThreadQueue& operator=(const ThreadQueue&) = delete;

    void post(std::function<void()> action) override;
    /// On a monotonic clock; a turn that comes late doesn't bring the next one forward.
    [[nodiscard]] Subscription every(Seconds interval, std::function<void()> action) override;

private:
    struct State;

    std::shared_ptr<State> state_;
    std::thread thread_;
};

} // namespace velmoran
