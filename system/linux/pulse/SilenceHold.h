// Silences again what others have unmuted under a mute that stands: at once, and however often they
// do it, but no more often than every few milliseconds. Owned by the microphones; used with the
// context's lock held.
#pragma once

#include "system/linux/pulse/PulseContext.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

namespace velmoran {

class SilenceHold {
public:
    static constexpr Seconds shortestPause = 0.005;

    /// `mute` writes it to the source with that index. `pulse` outlives this.
    SilenceHold(PulseContext& pulse, std::function<void(std::uint32_t)> mute);

    /// It was seen unmuted.
    void unmuted(std::uint32_t source);
    void forget(std::uint32_t source) { held_.erase(source); }
    void clear() { held_.clear(); }

private:
    struct Held {
        std::chrono::steady_clock::time_point last;
        Subscription next; ///< while one is due
    };

    PulseContext& pulse_;
    std::function<void(std::uint32_t)> mute_;
    std::map<std::uint32_t, Held> held_;
};

} // namespace velmoran
