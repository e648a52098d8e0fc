// USB devices that are plugged in, as udev announces them, by their names. Lives on the loop's
// thread.
#pragma once

#include "core/base/Subscription.h"
#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

struct udev;
struct udev_device;
struct udev_monitor;

namespace velmoran {

/// What people call the device; nothing if nobody knows. Any thread.
std::optional<std::string> usbDeviceName(udev_device* device);

class UsbArrivals {
public:
    using Arrived = std::function<void(std::optional<std::string> name)>;

    /// Not for those that are there already, even if udev is told to announce them again.
    UsbArrivals(EventLoop& loop, std::shared_ptr<struct udev> context, Arrived arrived);
    UsbArrivals(const UsbArrivals&) = delete;
    UsbArrivals& operator=(const UsbArrivals&) = delete;

private:
    /// Its place in the tree, and the number that each device gets anew there.
    using Key = std::pair<std::string, std::string>;

    static Key keyOf(udev_device* device);
    void noteThosePresent();
    void drain();

    std::shared_ptr<struct udev> udev_;
    Arrived arrived_;
    std::shared_ptr<udev_monitor> monitor_;
    std::set<Key> present_;
    Subscription announced_; ///< last, so that its end is the first
};

} // namespace velmoran
