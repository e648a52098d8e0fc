// The warning sound on a Linux desktop: the sound theme's own warning. Owned by the machine that it
// is given to; main thread.
#pragma once

#include "system/Machine.h"

struct ca_context;

namespace velmoran {

class CanberraSounds final : public Sounds {
public:
    CanberraSounds() = default;
    ~CanberraSounds() override;
    CanberraSounds(const CanberraSounds&) = delete;
    CanberraSounds& operator=(const CanberraSounds&) = delete;

    /// Silent where there is no sound server, no theme or no such sound.
    void playWarning() override;

private:
    ca_context* context_ = nullptr; ///< made at the first sound: it connects to the sound server
};

} // namespace velmoran
