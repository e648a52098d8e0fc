// Which cameras stand in the device folder, before anybody uses one: udev's list, or the folder
// itself where there is no udev. Owned by the reader of cameras; lives on the loop's thread.
#pragma once

#include "core/base/Subscription.h"
#include "system/linux/kernel/EventLoop.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct udev;
struct udev_monitor;

namespace velmoran {

/// One camera with all its nodes from which pictures can be taken.
struct VideoDevice {
    std::string key;                ///< the same for the same device as long as it is plugged in
    std::string name;               ///< or "Unknown camera"
    std::vector<std::string> nodes; ///< whole paths, in the order of their numbers; never empty

    bool operator==(const VideoDevice&) const = default;
};

/// "Integrated Camera" for "Integrated Camera: Integrated C": drivers say the name twice and have
/// room for 31 characters (v4l2_capability.card).
std::string cameraName(std::string_view driverName);

class VideoDevices {
public:
    struct Places {
        std::string deviceFolder = "/dev";
        std::string classFolder = "/sys/class/video4linux"; ///< where names are without udev
        /// Without it every "videoN" of the device folder is a camera, unless it is a video device
        /// that says that it isn't. For stand-ins that are plain files.
        bool udev = true;
    };

    VideoDevices(EventLoop& loop, Places places, std::function<void()> onChange);
    VideoDevices(const VideoDevices&) = delete;
    VideoDevices& operator=(const VideoDevices&) = delete;

    /// True for "video0", whether it is a camera or not.
    static bool isVideoNode(std::string_view fileName);
    /// In the order of the lowest number of each. May open a node for a moment, once in its life,
    /// if udev doesn't say what it is.
    std::vector<VideoDevice> list();
    /// Whether the last list may lack some, since nobody says what a node is and it may not be
    /// asked.
    bool hasHiddenOnes() const { return hasHiddenOnes_; }

private:
    struct Found {
        std::string path;
        std::string key;
        std::string name;
        std::optional<bool> captures; ///< nothing if udev doesn't know
    };

    std::vector<Found> foundByUdev() const;
    std::vector<Found> foundInFolder() const;
    bool captures(const Found& found);
    void drainMonitor();

    Places places_;
    std::function<void()> onChange_;
    std::shared_ptr<struct udev> udev_;
    std::shared_ptr<udev_monitor> monitor_;
    std::map<std::string, bool> asked_; ///< what nodes said for themselves
    bool hasHiddenOnes_ = false;
    Subscription announced_; ///< last, so that its end is the first
};

} // namespace velmoran
