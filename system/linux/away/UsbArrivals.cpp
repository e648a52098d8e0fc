#include "system/linux/away/UsbArrivals.h"

#include "system/linux/away/DeviceName.h"

#include <string_view>

#include <libudev.h>
#include <sys/epoll.h>

namespace velmoran {

namespace {

std::string orEmpty(const char* text) {
    return text ? text : "";
}

/// A controller of the machine's own, which the kernel shows as a device too.
bool isRootHub(udev_device* device) {
    return orEmpty(udev_device_get_sysname(device)).starts_with("usb");
}

} // namespace

std::optional<std::string> usbDeviceName(udev_device* device) {
    const auto property = [device](const char* name) {
        return orEmpty(udev_device_get_property_value(device, name));
    };
    const auto attribute = [device](const char* name) {
        return orEmpty(udev_device_get_sysattr_value(device, name));
    };
    return deviceName({.maker = attribute("manufacturer"),
                       .model = attribute("product"),
                       .makerInDatabase = property("ID_VENDOR_FROM_DATABASE"),
                       .modelInDatabase = property("ID_MODEL_FROM_DATABASE")});
}

UsbArrivals::UsbArrivals(EventLoop& loop, std::shared_ptr<struct udev> context, Arrived arrived)
    : udev_(std::move(context)),
      arrived_(std::move(arrived)),
      monitor_(udev_monitor_new_from_netlink(udev_.get(), "udev"),
               [](udev_monitor* monitor) { udev_monitor_unref(monitor); }) {
    if (!monitor_) {
        return;
    }
    udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "usb", "usb_device");
    if (udev_monitor_enable_receiving(monitor_.get()) < 0) {
        return;
    }
    noteThosePresent();
    announced_ = loop.watch(udev_monitor_get_fd(monitor_.get()), EPOLLIN,
                            [this](std::uint32_t) { drain(); });
}

UsbArrivals::Key UsbArrivals::keyOf(udev_device* device) {
    return {orEmpty(udev_device_get_syspath(device)),
            orEmpty(udev_device_get_property_value(device, "DEVNUM"))};
}

void UsbArrivals::noteThosePresent() {
    const std::shared_ptr<udev_enumerate> enumerate(udev_enumerate_new(udev_.get()),
                                                    udev_enumerate_unref);
    if (!enumerate) {
        return;
    }
    udev_enumerate_add_match_subsystem(enumerate.get(), "usb");
    udev_enumerate_add_match_property(enumerate.get(), "DEVTYPE", "usb_device");
    udev_enumerate_scan_devices(enumerate.get());
    for (auto* entry = udev_enumerate_get_list_entry(enumerate.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const std::shared_ptr<udev_device> device(
            udev_device_new_from_syspath(udev_.get(), udev_list_entry_get_name(entry)),
            udev_device_unref);
        if (device) {
            present_.insert(keyOf(device.get()));
        }
    }
}

void UsbArrivals::drain() {
    while (auto* received = udev_monitor_receive_device(monitor_.get())) {
        const std::shared_ptr<udev_device> device(received, udev_device_unref);
        const auto action = orEmpty(udev_device_get_action(received));
        if (action == "remove") {
            const auto place = orEmpty(udev_device_get_syspath(received));
            std::erase_if(present_, [&](const Key& key) { return key.first == place; });
        } else if (action == "add" && present_.insert(keyOf(received)).second &&
                   !isRootHub(received)) {
            arrived_(usbDeviceName(received));
        }
    }
}

} // namespace velmoran
