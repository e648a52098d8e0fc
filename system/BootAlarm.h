// One alarm by the clock that goes on while the machine sleeps, for an event loop to wait on: it
// rings at its time, or on waking if that has passed. Owned by the loop, on its thread.
#pragma once

#include "core/base/Timestamp.h"

#include <optional>

namespace velmoran {

class BootAlarm {
public:
    /// Throws std::system_error where the system has no more descriptors.
    BootAlarm();
    ~BootAlarm();
    BootAlarm(const BootAlarm&) = delete;
    BootAlarm& operator=(const BootAlarm&) = delete;

    /// Seconds since the machine was started, asleep or awake.
    static Seconds now();

    /// Rings once when `now` is that late, at once if it is already; nothing: never.
    void set(std::optional<Seconds> due);
    /// Readable from the ring until `set`.
    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

} // namespace velmoran
