// One process, held by a descriptor of the kernel's: whatever becomes of its process id, a signal
// reaches this process or nobody. Owned by whoever holds it; one thread at a time.
#pragma once

#include "system/linux/kernel/Descriptor.h"

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <utility>

namespace velmoran {

class HeldProcess {
public:
    /// Whoever has that process id now. Nothing if there is none, or no descriptor to be had; errno
    /// says which, as pidfd_open(2) sets it.
    static std::optional<HeldProcess> hold(pid_t pid);

    /// True once all its threads have ended, collected by whoever watches over them or not. One
    /// that may not be signalled isn't gone.
    bool isGone() const;
    /// The same, waiting that long for it at most.
    bool waitForEnd(std::chrono::milliseconds patience) const;
    /// False if it is gone or may not be signalled. Number 0 only asks.
    bool signal(int number) const;
    /// Its process id for as long as it isn't gone.
    pid_t pid() const { return pid_; }

private:
    HeldProcess(pid_t pid, Descriptor descriptor) : pid_(pid), descriptor_(std::move(descriptor)) {}

    pid_t pid_ = 0;
    Descriptor descriptor_;
};

} // namespace velmoran
