#include "system/linux/away/EvdevEvents.h"

#include "system/linux/away/XInputEvents.h"
#include "system/linux/kernel/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <libudev.h>
#include <linux/input.h>
#include <sys/epoll.h>
#include <unistd.h>

namespace velmoran {

namespace {

bool isSet(udev_device* device, const char* property) {
    const char* value = udev_device_get_property_value(device, property);
    return value && std::string_view(value) == "1";
}

/// As logind has it: a device belongs to the seat of the nearest parent that has one.
std::string seatOf(udev_device* device) {
    for (; device; device = udev_device_get_parent(device)) {
        if (const char* seat = udev_device_get_property_value(device, "ID_SEAT")) {
            return seat;
        }
    }
    return "seat0";
}

InputDevice described(udev_device* device) {
    InputDevice result;
    const char* node = udev_device_get_devnode(device);
    result.node = node ? node : "";
    result.isKeyboard = isSet(device, "ID_INPUT_KEYBOARD");
    for (const char* kind : {"ID_INPUT_MOUSE", "ID_INPUT_TOUCHPAD", "ID_INPUT_TOUCHSCREEN",
                             "ID_INPUT_TABLET", "ID_INPUT_POINTINGSTICK", "ID_INPUT_TRACKBALL"}) {
        result.isPointer |= isSet(device, kind);
    }
    return result;
}

} // namespace

std::vector<InputDevice> inputDevices(udev* context, const std::string& seat) {
    std::vector<InputDevice> all;
    const std::shared_ptr<udev_enumerate> enumerate(udev_enumerate_new(context),
                                                    udev_enumerate_unref);
    if (!enumerate) {
        return all;
    }
    udev_enumerate_add_match_subsystem(enumerate.get(), "input");
    udev_enumerate_add_match_sysname(enumerate.get(), "event*");
    udev_enumerate_scan_devices(enumerate.get());
    for (auto* entry = udev_enumerate_get_list_entry(enumerate.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const std::shared_ptr<udev_device> device(
            udev_device_new_from_syspath(context, udev_list_entry_get_name(entry)),
            udev_device_unref);
        if (!device) {
            continue;
        }
        auto found = described(device.get());
        if (!found.node.empty() && (found.isKeyboard || found.isPointer) &&
            seatOf(device.get()) == seat) {
            all.push_back(std::move(found));
        }
    }
    return all;
}

std::optional<InputUse> inputUseOf(const InputDevice& device, std::uint16_t type,
                                   std::int32_t value) {
    const bool moves = type == EV_REL || type == EV_ABS;
    if (device.isPointer && moves) {
        return InputUse::motion;
    }
    if (type != EV_KEY || value != 1) {
        return std::nullopt;
    }
    return device.isKeyboard ? InputUse::key : InputUse::press;
}

/// One device that is read.
class EvdevEvents::Reader {
public:
    Reader(EventLoop& loop, InputDevice device, const std::function<void(InputUse)>& used)
        : loop_(loop),
          device_(std::move(device)),
          used_(used),
          node_(::open(device_.node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
        listen();
    }

    const std::string& node() const { return device_.node; }
    bool isOpen() const { return node_.isOpen(); }

private:
    void listen() {
        if (isOpen()) {
            readable_ = loop_.watch(node_.get(), EPOLLIN, [this](std::uint32_t) { drain(); });
        }
    }

    void drain() {
        readable_.reset();
        std::array<input_event, 64> events{};
        ssize_t length = 0;
        while ((length = ::read(node_.get(), events.data(), sizeof events)) > 0) {
            const auto count = static_cast<std::size_t>(length) / sizeof events[0];
            for (std::size_t i = 0; i < count; ++i) {
                if (const auto use = inputUseOf(device_, events[i].type, events[i].value)) {
                    used_(*use);
                }
            }
        }
        ::explicit_bzero(events.data(), sizeof events);
        if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
            node_ = Descriptor(); // pulled out; what comes in its place is announced
            resting_.reset();
            return;
        }
        resting_ = loop_.after(XInputEvents::rest, [this] { listen(); });
    }

    EventLoop& loop_;
    InputDevice device_;
    const std::function<void(InputUse)>& used_;
    Descriptor node_;
    Subscription resting_;
    Subscription readable_; ///< last, so that its end is the first
};

EvdevEvents::EvdevEvents(EventLoop& loop, std::string seat, std::function<void(InputUse)> used)
    : loop_(loop),
      seat_(std::move(seat)),
      used_(std::move(used)),
      udev_(udev_new(), [](struct udev* context) { udev_unref(context); }) {
    if (!udev_) {
        return;
    }
    monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), "udev"), udev_monitor_unref);
    if (monitor_) {
        udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "input", nullptr);
        if (udev_monitor_enable_receiving(monitor_.get()) >= 0) {
            announced_ = loop.watch(udev_monitor_get_fd(monitor_.get()), EPOLLIN,
                                    [this](std::uint32_t) { drainMonitor(); });
        }
    }
    look();
}

EvdevEvents::~EvdevEvents() = default;

bool EvdevEvents::hearsAll(const std::string& seat) {
    const std::shared_ptr<struct udev> context(udev_new(), udev_unref);
    if (!context) {
        return false;
    }
    const auto devices = inputDevices(context.get(), seat);
    return !devices.empty() && std::all_of(devices.begin(), devices.end(), [](const auto& device) {
        return ::access(device.node.c_str(), R_OK) == 0;
    });
}

void EvdevEvents::drainMonitor() {
    while (udev_device* device = udev_monitor_receive_device(monitor_.get())) {
        udev_device_unref(device);
    }
    look();
}

void EvdevEvents::look() {
    const auto devices = inputDevices(udev_.get(), seat_);
    readers_.remove_if([&](const Reader& reader) {
        return !reader.isOpen() ||
               std::none_of(devices.begin(), devices.end(),
                            [&](const auto& device) { return device.node == reader.node(); });
    });
    for (const auto& device : devices) {
        if (std::none_of(readers_.begin(), readers_.end(),
                         [&](const Reader& reader) { return reader.node() == device.node; })) {
            readers_.emplace_back(loop_, device, used_);
        }
    }
}

} // namespace velmoran
