// One process, held by a descriptor of the kernel's: whatever becomes of its process id, a signal
// reaches this process or nobody. Owned by whoever holds it; one thread at a time.
#pragma once

#include <sys/types.h>

#include <optional>

namespace velmoran {

class HeldProcess {
public:
    /// Whoever has that process id now. Nothing if there is none, or no descriptor to be had.
    static std::optional<HeldProcess> hold(pid_t pid);
    ~HeldProcess();
    HeldProcess(HeldProcess&& other) noexcept;
    HeldProcess& operator=(HeldProcess&& other) noexcept;
    HeldProcess(const HeldProcess&) = delete;
    HeldProcess& operator=(const HeldProcess&) = delete;

    /// True once it has ended, collected by its parent or not. One that may not be signalled isn't
    /// gone.
    bool isGone() const;
    /// False if it is gone or may not be signalled.
    bool signal(int number) const;
    /// Its process id for as long as it isn't gone.
    pid_t pid() const { return pid_; }

private:
    HeldProcess(pid_t pid, int descriptor) : pid_(pid), descriptor_(descriptor) {}

    pid_t pid_ = 0;
    int descriptor_ = -1;
};

} // namespace velmoran
