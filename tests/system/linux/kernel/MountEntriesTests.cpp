#include "system/linux/kernel/MountEntries.h"

#include <gtest/gtest.h>
#include <sys/sysmacros.h>

namespace velmoran {
namespace {

TEST(MountEntries, IsReadLineByLine) {
    const auto entries =
        readMountTable("22 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw,errors=remount-ro\n"
                       "35 22 0:31 /home/u/a\\040b /app rw - btrfs none\n"
                       "97 22 8:17 / /run/media/anna/MY\\040STICK rw,nosuid shared:7 master:2 - "
                       "vfat /dev/sdb1 rw\n");
    EXPECT_EQ(entries, (std::vector<MountEntry>{{.device = makedev(8, 2),
                                                 .root = "/",
                                                 .folder = "/",
                                                 .type = "ext4",
                                                 .source = "/dev/sda2",
                                                 .options = "rw,errors=remount-ro"},
                                                {.device = makedev(0, 31),
                                                 .root = "/home/u/a b",
                                                 .folder = "/app",
                                                 .type = "btrfs",
                                                 .source = "none",
                                                 .options = ""},
                                                {.device = makedev(8, 17),
                                                 .root = "/",
                                                 .folder = "/run/media/anna/MY STICK",
                                                 .type = "vfat",
                                                 .source = "/dev/sdb1",
                                                 .options = "rw"}}));
}

TEST(MountEntries, IsReadWithoutItsBrokenLines) {
    const auto entries = readMountTable("\n"
                                        "22 1 8:2 / / rw,relatime\n"
                                        "22 1 8 / / rw - ext4 /dev/sda2 rw\n"
                                        "22 1 8:2: / / rw - ext4 /dev/sda2 rw\n"
                                        "22 1 99999999999:2 / / rw - ext4 /dev/sda2 rw\n"
                                        "22 1 8:2 / / rw - ext4\n"
                                        "22 1 - - - - - - - -\n"
                                        "1 1 7:1 / /a\\0401\\134\\9 rw - x y\n");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].folder, "/a 1\\\\9");
}

} // namespace
} // namespace velmoran
