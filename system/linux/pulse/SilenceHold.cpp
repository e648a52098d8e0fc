#include "system/linux/pulse/SilenceHold.h"

#include <utility>

namespace velmoran {

SilenceHold::SilenceHold(PulseContext& pulse, std::function<void(std::uint32_t)> mute)
    : pulse_(pulse),
      mute_(std::move(mute)) {}

void SilenceHold::unmuted(std::uint32_t source) {
    auto& held = held_[source];
    const auto now = std::chrono::steady_clock::now();
    if (std::chrono::duration<double>(now - held.last).count() >= shortestPause) {
        held.last = now;
        mute_(source);
    } else if (!held.next) {
        held.next = pulse_.after(shortestPause, [this, source] {
            held_[source] = {.last = std::chrono::steady_clock::now(), .next = {}};
            mute_(source);
        });
    }
}

} // namespace velmoran
