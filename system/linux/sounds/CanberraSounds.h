// The warning sound on a Linux desktop: the sound theme's own warning. Owned by the machine that it
// is given to; main thread. The library connects to the sound server at the first sound and waits
// for it, so it is called on a thread of its own: a server that hangs holds up no card.
#pragma once

#include "system/Machine.h"

#include <memory>
#include <thread>

namespace velmoran {

class CanberraSounds final : public Sounds {
public:
    CanberraSounds() = default;
    /// Leaves the thread to the end of the process if the sound server hangs.
    ~CanberraSounds() override;
    CanberraSounds(const CanberraSounds&) = delete;
    CanberraSounds& operator=(const CanberraSounds&) = delete;

    /// Returns at once. Silent where there is no sound server, no theme or no such sound; one of
    /// several that came while the server hung is played.
    void playWarning() override;

private:
    struct Player;

    std::shared_ptr<Player> player_; ///< made at the first sound, shared with the thread
    std::thread thread_;
};

} // namespace velmoran
