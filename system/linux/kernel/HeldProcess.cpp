#include "system/linux/kernel/HeldProcess.h"

#include "system/linux/kernel/ProcFs.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmoran {

// Through `syscall`: the C library of the oldest system that this runs on has no names for them.

std::optional<HeldProcess> HeldProcess::hold(pid_t pid) {
    Descriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    return descriptor.isOpen() ? std::optional(HeldProcess(pid, std::move(descriptor)))
                               : std::nullopt;
}

bool HeldProcess::isGone() const {
    return waitForEnd(std::chrono::milliseconds(0));
}

bool HeldProcess::waitForEnd(std::chrono::milliseconds patience) const {
    pollfd end{.fd = descriptor_.get(), .events = POLLIN, .revents = 0};
    if (::poll(&end, 1, static_cast<int>(patience.count())) == 1 && (end.revents & POLLIN) != 0) {
        return true;
    }
    // A debugger keeps the threads of what it watches until it has seen them end, and the kernel
    // doesn't call that an end. Nobody has collected it, so the process id is still its.
    return ProcFs().hasOnlyEndedThreads(pid_);
}

bool HeldProcess::signal(int number) const {
    return ::syscall(SYS_pidfd_send_signal, descriptor_.get(), number, nullptr, 0) == 0;
}

} // namespace velmoran
