#include "system/linux/away/ExternalVolumes.h"

#include <gtest/gtest.h>
#include <sys/sysmacros.h>

namespace velmoran {
namespace {

TEST(FolderForAPerson, IsWhereDesktopsMountAndWherePeopleDo) {
    for (const auto* folder : {"/media/anna/STICK", "/run/media/anna/STICK", "/mnt", "/mnt/stick",
                               "/home/anna/stick", "/tmp/stick", "/bootleg", "/runs"}) {
        EXPECT_TRUE(isForAPerson(folder)) << folder;
    }
}

TEST(FolderForAPerson, IsNotTheSystemsOwn) {
    for (const auto* folder :
         {"/", "/boot", "/boot/efi", "/efi", "/proc", "/sys/fs/bpf", "/dev/shm", "/run",
          "/run/user/1000", "/run/mediator", "/snap/core/1", "/var/lib/docker/x", "/usr"}) {
        EXPECT_FALSE(isForAPerson(folder)) << folder;
    }
}

TEST(VolumeName, IsItsLabelElseItsFolderElseItsDrive) {
    VolumeDescription volume{.volume = {},
                             .isHidden = false,
                             .fileSystemID = "1234-ABCD",
                             .label = "MY STICK",
                             .drive = "SanDisk Ultra"};
    EXPECT_EQ(volumeName(volume, "/media/anna/other"), "MY STICK");
    volume.label.reset();
    EXPECT_EQ(volumeName(volume, "/media/anna/other"), "other");
    EXPECT_EQ(volumeName(volume, "/run/media/anna/1234-ABCD"), "SanDisk Ultra");
    EXPECT_EQ(volumeName(volume, "/mnt"), "SanDisk Ultra");
    volume.drive.reset();
    EXPECT_EQ(volumeName(volume, "/mnt"), std::nullopt);
}

MountEntry mounted(dev_t device, const std::string& type, const std::string& source) {
    return {.device = device,
            .root = "/",
            .folder = "/mnt",
            .type = type,
            .source = source,
            .options = ""};
}

TEST(DeviceOfAMount, IsTheFileSystemsOwn) {
    EXPECT_EQ(deviceOf(mounted(makedev(8, 17), "vfat", "x")), makedev(8, 17));
}

TEST(DeviceOfAMount, IsNoneForWhatComesOverANetworkOrFromNowhere) {
    for (const auto* source : {"server:/share", "//server/share", "tmpfs", "/dev/null",
                               "/dev/nowhere", "/home/anna/file", ""}) {
        EXPECT_EQ(deviceOf(mounted(makedev(0, 50), "x", source)), std::nullopt) << source;
    }
}

} // namespace
} // namespace velmoran
