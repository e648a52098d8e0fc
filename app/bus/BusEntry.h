// The way into the user's session bus for whoever can do nothing before he is let in: waits for
// that, but no longer than he wants to, whatever stands behind the socket. Any thread.
#pragma once

#include "app/bus/BusLink.h"
#include "core/base/Timestamp.h"

#include <chrono>
#include <functional>
#include <string>

namespace velmoran {

struct BusEntry {
    enum class Outcome {
        entered,
        absent, ///< there is no bus at that address, or it wants nobody
        silent, ///< something takes the connection and doesn't let us in
    };

    Outcome outcome = Outcome::absent;
    BusHandle bus; ///< null unless entered
};

BusEntry enterBus(const std::string& address, Seconds patience);

/// Lets the bus have its turns until the condition holds; false if the time is over before that, or
/// the connection has ended.
bool runBusUntil(sd_bus* bus, std::chrono::steady_clock::time_point end,
                 const std::function<bool()>& condition);

/// From now on.
std::chrono::steady_clock::time_point inSeconds(Seconds patience);

} // namespace velmoran
