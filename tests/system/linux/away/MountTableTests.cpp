#include "system/linux/away/MountTable.h"

#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <thread>

namespace velmoran {
namespace {

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
