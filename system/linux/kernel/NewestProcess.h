// The id that the kernel gave out last, to a process or a thread. It tells whether anything was
// started between two moments, and under which ids: they are given out in rising order, and begin
// anew only past the highest one. Owned by whoever asks; one thread at a time.
#pragma once

#include "system/linux/kernel/Descriptor.h"

#include <sys/types.h>

#include <optional>
#include <string>

namespace velmoran {

class NewestProcess {
public:
    /// `counter` is a file that holds the id alone, `summary` one that ends with it; the second
    /// serves where the first isn't there.
    explicit NewestProcess(const std::string& counter = "/proc/sys/kernel/ns_last_pid",
                           const std::string& summary = "/proc/loadavg");

    /// Nothing where the kernel doesn't say, or says what can't be so: some containers put a file
    /// of their own there, which stands still.
    std::optional<pid_t> id() const;

private:
    std::optional<pid_t> read() const;

    Descriptor file_;
    bool isAlive_ = false;
};

} // namespace velmoran
