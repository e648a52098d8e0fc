#include "system/linux/away/MountTable.h"

#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"

#include <atomic>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/sysmacros.h>
#include <thread>

namespace velmoran {
namespace {

TEST(MountTable, IsReadLineByLine) {
    const auto entries =
        readMountTable("22 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw,errors=remount-ro\n"
                       "35 22 0:31 / /proc rw - proc proc rw\n"
                       "97 22 8:17 / /run/media/anna/MY\\040STICK rw,nosuid shared:7 master:2 - "
                       "vfat /dev/sdb1 rw\n");
    EXPECT_EQ(entries,
              (std::vector<MountEntry>{
                  {.device = makedev(8, 2), .folder = "/", .type = "ext4", .source = "/dev/sda2"},
                  {.device = makedev(0, 31), .folder = "/proc", .type = "proc", .source = "proc"},
                  {.device = makedev(8, 17),
                   .folder = "/run/media/anna/MY STICK",
                   .type = "vfat",
                   .source = "/dev/sdb1"}}));
}

TEST(MountTable, IsReadWithoutItsBrokenLines) {
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

TEST(KernelMountTable, IsEmptyWhereThereIsNone) {
    KernelMountTable table("/nowhere/mountinfo");
    EventLoop loop;
    EXPECT_EQ(table.text(), "");
    EXPECT_FALSE(table.onChange(loop, [] {}));
}

TEST(KernelMountTable, ListsTheRoot) {
    const auto entries = readMountTable(KernelMountTable().text());
    EXPECT_TRUE(std::any_of(entries.begin(), entries.end(),
                            [](const auto& entry) { return entry.folder == "/"; }));
}

TEST(KernelMountTableAsRoot, AnnouncesEachChange) {
    // In a world of its own, which ends with its thread.
    std::thread([] {
        ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
        ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        const TemporaryDirectory folder;
        KernelMountTable table("/proc/thread-self/mountinfo");
        EventLoop loop;
        std::atomic<int> changes = 0;
        Subscription handle;
        // Opened here, where the folder of the thread itself is.
        handle = table.onChange(loop, [&] { ++changes; });
        ASSERT_TRUE(handle);
        ASSERT_EQ(::mount("none", folder.path().c_str(), "tmpfs", 0, nullptr), 0);
        EXPECT_TRUE(support::waitUntil([&] { return changes >= 1; }));
        EXPECT_NE(table.text().find(folder.path()), std::string::npos);
        const int before = changes;
        ASSERT_EQ(::umount(folder.path().c_str()), 0);
        EXPECT_TRUE(support::waitUntil([&] { return changes > before; }));
        loop.runAndWait([&] { handle.reset(); });
    }).join();
}

} // namespace
} // namespace velmoran
