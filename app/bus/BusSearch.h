// The search for a session bus that isn't there, or not there any more: by the folder in which its
// socket comes to stand, and once in a while without being told. Exists only while there is none.
// Owned by the service that wants the bus; main thread, with Qt's event loop.
#pragma once

#include "core/base/Scheduler.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace velmoran {

class BusSearch {
public:
    /// `attempt` is called soon after the start and after a socket has come, a few times each,
    /// since a socket comes before its server listens; and every `interval` whatever happens. It
    /// may drop this. The scheduler outlives the search.
    BusSearch(const std::string& address, Scheduler& scheduler, Seconds interval,
              std::function<void()> attempt);
    ~BusSearch();
    BusSearch(const BusSearch&) = delete;
    BusSearch& operator=(const BusSearch&) = delete;

private:
    class Folders;

    void trySoon();
    void retry();
    void tryNow();

    Scheduler& scheduler_;
    std::function<void()> attempt_;
    std::unique_ptr<Folders> folders_;
    std::size_t step_ = 0;
    Subscription soon_;
    Subscription regularly_;
};

} // namespace velmoran
