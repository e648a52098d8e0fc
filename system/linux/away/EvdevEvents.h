// Hears of input from the kernel's own devices, as far as this user may read them. What was used is
// told by what the device is, and by the type of an event: the code of a key isn't looked at. Lives
// on the loop's thread.
#pragma once

#include "core/base/Subscription.h"
#include "system/linux/away/InputTimes.h"
#include "system/linux/kernel/EventLoop.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct udev;
struct udev_monitor;

namespace velmoran {

/// One that a person types or points with, as udev sorts them.
struct InputDevice {
    std::string node; ///< "/dev/input/event3"
    bool isKeyboard = false;
    bool isPointer = false; ///< mouse, touchpad, tablet, touch screen …
};

/// Those of one seat.
std::vector<InputDevice> inputDevices(udev* context, const std::string& seat);

/// `type` and `value` are those of input_event. A release is no use: those of the keys that have
/// locked the screen come after the lock.
std::optional<InputUse> inputUseOf(const InputDevice& device, std::uint16_t type,
                                   std::int32_t value);

class EvdevEvents {
public:
    EvdevEvents(EventLoop& loop, std::string seat, std::function<void(InputUse)> used);
    ~EvdevEvents();
    EvdevEvents(const EvdevEvents&) = delete;
    EvdevEvents& operator=(const EvdevEvents&) = delete;

    /// Whether there is any such device, and each may be read. Any thread.
    static bool hearsAll(const std::string& seat);

private:
    class Reader;

    void look();
    void drainMonitor();

    EventLoop& loop_;
    std::string seat_;
    std::function<void(InputUse)> used_;
    std::shared_ptr<struct udev> udev_;
    std::shared_ptr<udev_monitor> monitor_;
    std::list<Reader> readers_;
    Subscription announced_;
};

} // namespace velmoran
