#include "system/linux/away/ExternalVolumes.h"

#include "system/linux/away/DeviceName.h"
#include "system/linux/away/UsbArrivals.h"
#include "system/linux/kernel/Files.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <libudev.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace velmoran {

namespace {

constexpr int mostLayers = 8; // of devices that stand on devices

using UdevDevice = std::shared_ptr<udev_device>;

std::string textOr(const char* text) {
    return text ? text : "";
}

std::string attributeOf(udev_device* device, const char* name) {
    return textOr(udev_device_get_sysattr_value(device, name));
}

std::string propertyOf(udev_device* device, const char* name) {
    return textOr(udev_device_get_property_value(device, name));
}

std::string sortOf(udev_device* device) {
    return textOr(udev_device_get_subsystem(device));
}

/// A partition's disk; the device itself for all others.
udev_device* diskOf(udev_device* device) {
    auto* disk = udev_device_get_parent_with_subsystem_devtype(device, "block", "disk");
    return disk ? disk : device;
}

/// The devices that an encrypted or joined one stands on, down to the last.
void gatherBase(udev* context, const UdevDevice& device, int layers,
                std::vector<UdevDevice>& found) {
    const auto folder = textOr(udev_device_get_syspath(device.get())) + "/slaves";
    const auto below = layers > 0 ? sortedNamesIn(folder) : std::vector<std::string>();
    if (below.empty()) {
        found.push_back(device);
        return;
    }
    for (const auto& name : below) {
        const UdevDevice next(
            udev_device_new_from_subsystem_sysname(context, "block", name.c_str()),
            [](udev_device* old) { udev_device_unref(old); });
        if (next) {
            gatherBase(context, next, layers - 1, found);
        }
    }
}

/// Whether what hangs there was made to be taken off; nothing if the machine doesn't know.
std::optional<bool> isFixed(udev_device* device) {
    const auto removable = attributeOf(device, "removable");
    return removable == "fixed"       ? std::optional(true)
           : removable == "removable" ? std::optional(false)
                                      : std::nullopt;
}

void addHardware(MountedVolume& volume, udev_device* device) {
    auto* disk = diskOf(device);
    volume.isRemovable |= attributeOf(disk, "removable") == "1";
    volume.isEjectable |= attributeOf(disk, "events").find("eject_request") != std::string::npos;
    const auto say = [&volume](bool isInternal) {
        // One part from outside makes the whole one from outside.
        if (volume.isInternal != false) {
            volume.isInternal = isInternal;
        }
    };
    for (auto* at = udev_device_get_parent(disk); at; at = udev_device_get_parent(at)) {
        const auto sort = sortOf(at);
        if (sort == "usb" && textOr(udev_device_get_devtype(at)) == "usb_device") {
            // A port that the maker of the machine has put a card reader at says so.
            say(isFixed(at) == true);
            return;
        }
        if (sort == "firewire" || sort == "memstick") {
            say(false);
            return;
        }
        if (sort == "mmc") {
            // Cards and chips that are soldered in speak alike.
            volume.isRemovable |= attributeOf(at, "type") == "SD";
            return;
        }
        if (sort == "pci" && isFixed(at) == false) {
            say(false); // behind a port of Thunderbolt
            return;
        }
    }
}

std::optional<std::string> nameOfDrive(udev_device* device) {
    if (auto* usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device")) {
        return usbDeviceName(usb);
    }
    return deviceName({.maker = unescaped(propertyOf(device, "ID_VENDOR_ENC")),
                       .model = unescaped(propertyOf(device, "ID_MODEL_ENC")),
                       .makerInDatabase = {},
                       .modelInDatabase = {}});
}

std::set<dev_t> devicesIn(const std::vector<MountEntry>& entries) {
    std::set<dev_t> devices;
    for (const auto& entry : entries) {
        if (const auto device = deviceOf(entry)) {
            devices.insert(*device);
        }
    }
    return devices;
}

} // namespace

bool isForAPerson(std::string_view folder) {
    if (folder == "/run/media" || isBelow(folder, "/run/media")) {
        return true;
    }
    static constexpr std::array systems{"/boot", "/dev",  "/efi", "/etc", "/proc",
                                        "/run",  "/snap", "/sys", "/usr", "/var"};
    return folder != "/" && std::none_of(systems.begin(), systems.end(), [&](const char* system) {
               return folder == system || isBelow(folder, system);
           });
}

std::optional<dev_t> deviceOf(const MountEntry& entry) {
    if (major(entry.device) != 0) {
        return entry.device;
    }
    // File systems over several devices have a number of no device, but name one of them.
    struct stat node {};
    if (!entry.source.starts_with("/dev/") || ::stat(entry.source.c_str(), &node) != 0 ||
        !S_ISBLK(node.st_mode)) {
        return std::nullopt;
    }
    return node.st_rdev;
}

VolumeDescription describeVolume(udev* context, dev_t device) {
    VolumeDescription result;
    const UdevDevice found(udev_device_new_from_devnum(context, 'b', device),
                           [](udev_device* old) { udev_device_unref(old); });
    if (!found) {
        return result;
    }
    result.isHidden = propertyOf(found.get(), "UDISKS_IGNORE") == "1";
    result.fileSystemID = propertyOf(found.get(), "ID_FS_UUID");
    result.label = nameLine(unescaped(propertyOf(found.get(), "ID_FS_LABEL_ENC")));
    std::vector<UdevDevice> base;
    gatherBase(context, found, mostLayers, base);
    for (const auto& below : base) {
        addHardware(result.volume, below.get());
        if (!result.drive) {
            result.drive = nameOfDrive(below.get());
        }
    }
    return result;
}

std::optional<std::string> volumeName(const VolumeDescription& description,
                                      std::string_view folder) {
    if (description.label) {
        return description.label;
    }
    const auto name = nameLine(std::string(fileName(folder)));
    const bool isNamed = isBelow(folder, "/media") || isBelow(folder, "/run/media");
    return isNamed && name && *name != description.fileSystemID ? name : description.drive;
}

ExternalVolumes::ExternalVolumes(EventLoop& loop, std::shared_ptr<struct udev> context,
                                 std::shared_ptr<MountTable> table, Arrived arrived)
    : loop_(loop),
      udev_(std::move(context)),
      table_(std::move(table)),
      arrived_(std::move(arrived)) {
    announced_ = table_->onChange(loop_, [this] { noteChange(); });
    mounted_ = devicesIn(readMountTable(table_->text()));
}

void ExternalVolumes::noteChange() {
    if (resting_) {
        changed_ = true;
        return;
    }
    resting_ = loop_.after(rest, [this] {
        resting_.reset();
        if (std::exchange(changed_, false)) {
            noteChange();
        }
    });
    look();
}

void ExternalVolumes::look() {
    const auto entries = readMountTable(table_->text());
    const auto before = std::exchange(mounted_, devicesIn(entries));
    std::set<dev_t> seen = before;
    for (const auto& entry : entries) {
        const auto device = isForAPerson(entry.folder) ? deviceOf(entry) : std::nullopt;
        if (!device || !seen.insert(*device).second) {
            continue;
        }
        const auto description = describeVolume(udev_.get(), *device);
        if (description.volume.isExternal() && !description.isHidden) {
            arrived_(volumeName(description, entry.folder));
        }
    }
}

} // namespace velmoran
