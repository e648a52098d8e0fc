// What is mounted in this process's world, as the kernel lists it in /proc/self/mountinfo.
#pragma once

#include "core/base/Subscription.h"
#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace velmoran {

/// One line of it (proc(5)).
struct MountEntry {
    dev_t device = 0; ///< of the file system; some have a number of no device (major 0)
    std::string folder;
    std::string type;   ///< "ext4"
    std::string source; ///< "/dev/sdb1", or whatever the file system calls itself

    bool operator==(const MountEntry&) const = default;
};

/// In the order of the table. A line that can't be read is left out.
std::vector<MountEntry> readMountTable(std::string_view text);

/// Lives on the loop's thread.
class MountTable {
public:
    virtual ~MountTable() = default;
    /// Empty if it can't be read.
    virtual std::string text() = 0;
    /// Called after each change, for as long as the handle is kept.
    [[nodiscard]] virtual Subscription onChange(EventLoop& loop, std::function<void()> changed) = 0;
};

/// That of this process, at that path in the kernel's own form.
class KernelMountTable final : public MountTable {
public:
    explicit KernelMountTable(std::string path = "/proc/self/mountinfo");

    std::string text() override;
    [[nodiscard]] Subscription onChange(EventLoop& loop, std::function<void()> changed) override;

private:
    std::string path_;
};

} // namespace velmoran
