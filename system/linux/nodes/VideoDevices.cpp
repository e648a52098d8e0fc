#include "system/linux/nodes/VideoDevices.h"

#include "core/text/Localizer.h"
#include "system/linux/nodes/NodeHolders.h"

#include <algorithm>
#include <charconv>
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

int numberOf(const std::string& path) {
    int number = 0;
    const auto digits = path.find_last_not_of("0123456789") + 1; // 0 for nothing but digits
    std::from_chars(path.data() + digits, path.data() + path.size(), number);
    return number;
}

std::string textOf(const char* text) {
    return text ? text : std::string();
}

// What the device itself says; nothing if it can't be asked.
std::optional<bool> askWhetherItCaptures(const std::string& path) {
    const int node = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (node < 0) {
        return std::nullopt;
    }
    v4l2_capability capability{};
    const int result = ::ioctl(node, VIDIOC_QUERYCAP, &capability);
    ::close(node);
    if (result < 0) {
        return false;
    }
    const auto abilities = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
                               ? capability.device_caps
                               : capability.capabilities;
    return (abilities & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) != 0;
}

} // namespace

std::string cameraName(std::string_view driverName) {
    while (!driverName.empty() && (driverName.back() == ' ' || driverName.back() == '\n')) {
        driverName.remove_suffix(1);
    }
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
    udev_ = udev_new();
    monitor_ = udev_ ? udev_monitor_new_from_netlink(udev_, "udev") : nullptr;
    if (!monitor_) {
        return;
    }
    udev_monitor_filter_add_match_subsystem_devtype(monitor_, "video4linux", nullptr);
    if (udev_monitor_enable_receiving(monitor_) < 0) {
        return;
    }
    announced_ = loop.watch(udev_monitor_get_fd(monitor_), EPOLLIN,
                            [this](std::uint32_t) { drainMonitor(); });
}

VideoDevices::~VideoDevices() {
    announced_.reset();
    if (monitor_) {
        udev_monitor_unref(monitor_);
    }
    if (udev_) {
        udev_unref(udev_);
    }
}

bool VideoDevices::isVideoNode(std::string_view fileName) {
    return fileName.starts_with(prefix) && fileName.size() > prefix.size() &&
           fileName.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

void VideoDevices::drainMonitor() {
    while (udev_device* device = udev_monitor_receive_device(monitor_)) {
        udev_device_unref(device);
    }
    onChange_();
}

std::vector<VideoDevices::Found> VideoDevices::foundByUdev() const {
    std::vector<Found> all;
    udev_enumerate* enumerate = udev_ ? udev_enumerate_new(udev_) : nullptr;
    if (!enumerate) {
        return all;
    }
    udev_enumerate_add_match_subsystem(enumerate, "video4linux");
    udev_enumerate_scan_devices(enumerate);
    for (auto* entry = udev_enumerate_get_list_entry(enumerate); entry;
         entry = udev_list_entry_get_next(entry)) {
        udev_device* device = udev_device_new_from_syspath(udev_, udev_list_entry_get_name(entry));
        if (!device) {
            continue;
        }
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
        udev_device_unref(device);
    }
    udev_enumerate_unref(enumerate);
    return all;
}

std::vector<VideoDevices::Found> VideoDevices::foundInFolder() const {
    std::vector<Found> all;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(places_.deviceFolder, error), end;
         !error && entry != end; entry.increment(error)) {
        const auto fileName = entry->path().filename().string();
        if (!isVideoNode(fileName)) {
            continue;
        }
        Found found;
        found.path = entry->path();
        const std::filesystem::path about = std::filesystem::path(places_.classFolder) / fileName;
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
        asked_[key] = *answer;
    }
    return answer.value_or(false);
}

std::vector<VideoDevice> VideoDevices::list() {
    auto all = udev_ ? foundByUdev() : foundInFolder();
    std::sort(all.begin(), all.end(), [](const Found& one, const Found& other) {
        return std::pair(numberOf(one.path), one.path) <
               std::pair(numberOf(other.path), other.path);
    });
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
            continue;
        }
        devices.emplace_back();
        devices.back().key = found.key;
        devices.back().name = cameraName(found.name);
        devices.back().nodes.push_back(found.path);
    }
    return devices;
}

} // namespace velmoran
