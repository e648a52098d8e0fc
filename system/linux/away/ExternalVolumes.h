// Volumes that come from outside, as they are mounted: a new file system in the table of mounts, on
// a device that udev knows to be one that comes and goes. Lives on the loop's thread.
#pragma once

#include "core/base/Subscription.h"
#include "system/MountedVolume.h"
#include "system/linux/away/MountTable.h"
#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <sys/types.h>

struct udev;

namespace velmoran {

/// Whether a person finds a volume that is mounted there, and not the system alone.
bool isForAPerson(std::string_view folder);

/// The device with the files, whatever the file system calls itself; nothing if there is none, as
/// for those of a network.
std::optional<dev_t> deviceOf(const MountEntry& entry);

/// What udev knows of a device. Nothing is known of what stands on no hardware, such as a file that
/// is mounted.
struct VolumeDescription {
    MountedVolume volume;
    bool isHidden = false;            ///< to be shown to nobody
    std::string fileSystemID;         ///< its number, as folders without a better name are called
    std::optional<std::string> label; ///< as its owner has named it
    std::optional<std::string> drive; ///< as people call the device
};
VolumeDescription describeVolume(udev* context, dev_t device);

/// By its label, else by its folder, else as its drive.
std::optional<std::string> volumeName(const VolumeDescription& description,
                                      std::string_view folder);

class ExternalVolumes {
public:
    using Arrived = std::function<void(std::optional<std::string> name)>;

    /// Many changes in a row are looked at together.
    static constexpr Seconds rest = 0.25;

    /// Not for those that are mounted already. What is mounted in two places has come once.
    ExternalVolumes(EventLoop& loop, std::shared_ptr<struct udev> context,
                    std::shared_ptr<MountTable> table, Arrived arrived);
    ExternalVolumes(const ExternalVolumes&) = delete;
    ExternalVolumes& operator=(const ExternalVolumes&) = delete;

private:
    void noteChange();
    void look();

    EventLoop& loop_;
    std::shared_ptr<struct udev> udev_;
    std::shared_ptr<MountTable> table_;
    Arrived arrived_;
    std::set<dev_t> mounted_;
    bool changed_ = false; ///< since the last look
    Subscription resting_;
    Subscription announced_; ///< last, so that its end is the first
};

} // namespace velmoran
