// What is plugged in: USB devices as udev announces them, and external volumes as they are mounted,
// each by the name that people know. Owned by what is read while the user is away; listens on the
// loop only while a handle is kept.
#pragma once

#include "core/away/AwaySignal.h"
#include "core/base/Subscription.h"
#include "system/linux/away/MountTable.h"
#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <memory>

namespace velmoran {

class PluggedDevices {
public:
    /// The table of this process if none is given. The loop outlives this object and its handles.
    explicit PluggedDevices(EventLoop& loop, std::shared_ptr<MountTable> mounts = nullptr);

    /// `announced` is called on the loop's thread with `devicePluggedIn` for each device and volume
    /// that comes from now on, and not for what is there already. Without udev there is nothing to
    /// tell. Any thread but the loop's; once the handle was dropped no call is under way.
    [[nodiscard]] Subscription listen(std::function<void(const AwaySignal&)> announced);

private:
    EventLoop& loop_;
    std::shared_ptr<MountTable> mounts_;
};

} // namespace velmoran
