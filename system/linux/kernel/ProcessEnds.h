// Tells when processes end that aren't this program's children. Owned by whoever wants to know; the
// loop's thread only.
#pragma once

#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <map>
#include <set>
#include <vector>

#include <sys/types.h>

namespace velmoran {

class ProcessEnds {
public:
    /// `ended` is called once for each that ends while it is waited for. The loop outlives this.
    ProcessEnds(EventLoop& loop, std::function<void(pid_t)> ended)
        : loop_(loop),
          ended_(std::move(ended)) {}

    /// From now on these are waited for and no others. Gives those of them that are gone already;
    /// of one that can't be watched nothing is ever told.
    std::vector<pid_t> waitFor(const std::set<pid_t>& processes);

private:
    EventLoop& loop_;
    std::function<void(pid_t)> ended_;
    std::map<pid_t, Subscription> watches_;
};

} // namespace velmoran
