// What is mounted in this process's world, as the kernel lists it in /proc/self/mountinfo, and when
// that changes.
#pragma once

#include "core/base/Subscription.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/MountEntries.h"

#include <functional>
#include <string>

namespace velmoran {

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
