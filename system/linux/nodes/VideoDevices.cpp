#include "system/linux/nodes/VideoDevices.h"

#include "core/text/Localizer.h"
#include "system/TextParsing.h"
#include "system/linux/kernel/Descriptor.h"
#include "system/linux/kernel/Files.h"
#include "system/linux/nodes/NodeHolders.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <libudev.h>
#include <linux/videodev2.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace velmoran {

namespace {

constexpr std::string_view prefix = "video";
constexpr unsigned videoMajor = 81; // Documentation/admin-guide/devices.txt

int numberOf(std::string_view path) {
    path.remove_prefix(path.find_last_not_of("0123456789") + 1); // all stays of nothing but digits
    return consumeNumber<int>(path).value_or(0);
}

std::string textOf(const char* text) {
    return text ? text : std::string();
}

// What the device itself says; nothing if it can't be asked, as errno says.
std::optional<bool> askWhetherItCaptures(const std::string& path) {
    const Descriptor node(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!node.isOpen()) {
        return std::nullopt;
    }
    v4l2_capability capability{};
    if (::ioctl(node.get(), VIDIOC_QUERYCAP, &capability) < 0) {
        return false;
    }
    const auto abilities = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
                               ? capability.device_caps
                               : capability.capabilities;
    return (abilities & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) != 0;
}

} // namespace

std::string cameraName(std::string_view driverName) {
    driverName = driverName.substr(0, driverName.find_last_not_of(" \n") + 1);
    const auto colon = driverName.find(": ");
    if (colon != std::string_view::npos && colon > 0 &&
        driverName.substr(0, colon).starts_with(driverName.substr(colon + 2))) {
        driverName = driverName.substr(0, colon);
    }
    return driverName.empty() ? words().text("Unknown camera") : std::string(driverName);
}

VideoDevices::VideoDevices(EventLoop& loop, Places places, std::function<void()> onChange)
    : places_(std::move(places)),
      onChange_(std::move(onChange)) {
    if (!places_.udev) {
        return;
    }
    udev_.reset(udev_new(), udev_unref);
    if (udev_) {
        monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), "udev"), udev_monitor_unref);
    }
    if (!monitor_) {
        return;
    }
    udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "video4linux", nullptr);
    if (udev_monitor_enable_receiving(monitor_.get()) >= 0) {
        announced_ = loop.watch(udev_monitor_get_fd(monitor_.get()), EPOLLIN,
                                [this](std::uint32_t) { drainMonitor(); });
    }
}

bool VideoDevices::isVideoNode(std::string_view fileName) {
    return fileName.starts_with(prefix) && fileName.size() > prefix.size() &&
           fileName.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

void VideoDevices::drainMonitor() {
    while (udev_device* device = udev_monitor_receive_device(monitor_.get())) {
        udev_device_unref(device);
    }
    onChange_();
}

std::vector<VideoDevices::Found> VideoDevices::foundByUdev() const {
    std::vector<Found> all;
    const std::shared_ptr<udev_enumerate> enumerate(udev_enumerate_new(udev_.get()),
                                                    udev_enumerate_unref);
    if (!enumerate) {
        return all;
    }
    udev_enumerate_add_match_subsystem(enumerate.get(), "video4linux");
    udev_enumerate_scan_devices(enumerate.get());
    for (auto* entry = udev_enumerate_get_list_entry(enumerate.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const auto* place = udev_list_entry_get_name(entry);
        const std::shared_ptr<udev_device> owner(udev_device_new_from_syspath(udev_.get(), place),
                                                 udev_device_unref);
        if (!owner) {
            continue;
        }
        auto* device = owner.get();
        Found found;
        found.path = textOf(udev_device_get_devnode(device));
        // The parent is the device proper; a virtual camera has none.
        udev_device* parent = udev_device_get_parent(device);
        found.key = textOf(udev_device_get_syspath(parent ? parent : device));
        found.name = textOf(udev_device_get_sysattr_value(device, "name"));
        if (const char* abilities = udev_device_get_property_value(device, "ID_V4L_CAPABILITIES")) {
            found.captures = std::string_view(abilities).find(":capture:") != std::string::npos;
        }
        if (!found.path.empty()) {
            all.push_back(std::move(found));
        }
    }
    return all;
}

std::vector<VideoDevices::Found> VideoDevices::foundInFolder() const {
    std::vector<Found> all;
    for (const auto& name : sortedNamesIn(places_.deviceFolder)) {
        if (!isVideoNode(name)) {
            continue;
        }
        Found found;
        // Holders are found by the path as the kernel words it: the folder may end with a slash.
        found.path = std::filesystem::path(places_.deviceFolder) / name;
        const std::filesystem::path about = std::filesystem::path(places_.classFolder) / name;
        std::error_code none;
        const auto device = std::filesystem::canonical(about / "device", none);
        found.key = none ? found.path : device.string();
        std::ifstream file(about / "name");
        std::getline(file, found.name);
        all.push_back(std::move(found));
    }
    return all;
}

bool VideoDevices::captures(const Found& found) {
    if (found.captures) {
        return *found.captures;
    }
    const auto node = deviceNodeAt(found.path);
    if (!node) {
        return false;
    }
    if (!places_.udev && major(node->special) != videoMajor) {
        return true;
    }
    const auto key = found.path + ' ' + std::to_string(node->special) + ' ' +
                     std::to_string(node->device) + ' ' + std::to_string(node->inode);
    if (const auto known = asked_.find(key); known != asked_.end()) {
        return known->second;
    }
    const auto answer = askWhetherItCaptures(found.path);
    if (answer) {
        asked_.emplace(key, *answer);
    } else if (errno == EACCES) {
        hasHiddenOnes_ = true;
    }
    return answer.value_or(false);
}

std::vector<VideoDevice> VideoDevices::list() {
    auto all = udev_ ? foundByUdev() : foundInFolder();
    std::sort(all.begin(), all.end(), [](const Found& one, const Found& other) {
        return std::pair(numberOf(one.path), one.path) <
               std::pair(numberOf(other.path), other.path);
    });
    hasHiddenOnes_ = false;
    std::vector<VideoDevice> devices;
    for (const auto& found : all) {
        if (!captures(found)) {
            continue;
        }
        const auto known = std::find_if(devices.begin(), devices.end(), [&](const auto& device) {
            return device.key == found.key;
        });
        if (known != devices.end()) {
            known->nodes.push_back(found.path);
        } else {
            devices.push_back(
                {.key = found.key, .name = cameraName(found.name), .nodes = {found.path}});
        }
    }
    return devices;
}

} // namespace velmoran
