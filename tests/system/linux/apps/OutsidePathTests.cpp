// Where files of a process in mounts of its own lie. That real ones are found is tried in
// RealProcessNames.
#include "system/linux/apps/OutsidePath.h"

#include "support/FakeProc.h"
#include "support/MountLine.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using support::mountLine;

class OutsidePathTest : public ::testing::Test {
protected:
    std::optional<std::string> lookUp(const std::string& inside, const std::string& link) {
        return outsidePath(proc.fs(), 10, inside, link);
    }
    void processSees(const std::string& table) {
        proc.add(10, {.executable = "/x", .mountTable = table});
    }

    static constexpr dev_t disk = 0x801;
    static constexpr dev_t other = 0x802;
    FakeProc proc;
    TemporaryDirectory folder;
    std::string player = folder.write("apps/player/bin/player", "player");
    std::string thief = folder.write("thief/bin/player", "thief");
};

TEST_F(OutsidePathTest, FindsAFileInAFolderThatIsMountedElsewhere) {
    proc.mount(mountLine(disk, "/", "/"));
    processSees(mountLine(disk, "/", "/") + mountLine(disk, folder.path("apps/player"), "/app"));
    EXPECT_EQ(lookUp("/app/bin/player", player), player);
}

TEST_F(OutsidePathTest, FindsAFileThatIsMountedItself) {
    proc.mount(mountLine(disk, "/", "/"));
    processSees(mountLine(disk, "/", "/") + mountLine(disk, player, "/usr/bin/env"));
    EXPECT_EQ(lookUp("/usr/bin/env", player), player);
}

TEST_F(OutsidePathTest, FindsAFileInAFileSystemThatIsSeenHereInPart) {
    // The disk's folder /data is all that is seen of it here.
    proc.mount(mountLine(other, "/", "/") + mountLine(disk, "/data", folder.path()));
    processSees(mountLine(disk, "/data/apps", "/app"));
    EXPECT_EQ(lookUp("/app/player/bin/player", player), player);
    processSees(mountLine(disk, "/elsewhere", "/app"));
    EXPECT_FALSE(lookUp("/app/player/bin/player", player)) << "it isn't seen here";
}

TEST_F(OutsidePathTest, TakesNothingForTheFileThatIsNot) {
    proc.mount(mountLine(disk, "/", "/"));
    const auto table =
        mountLine(disk, "/", "/") + mountLine(disk, folder.path("apps/player"), "/app");
    processSees(table);
    // Hidden by another mount above it, which no list tells as such.
    EXPECT_FALSE(lookUp("/app/bin/player", thief));
    EXPECT_FALSE(lookUp("/app/bin/gone", folder.path("gone")));
    EXPECT_FALSE(lookUp("/app/../app/bin/player", player));
    processSees(table + mountLine(disk, folder.path("thief"), "/app"));
    EXPECT_EQ(lookUp("/app/bin/player", thief), thief) << "the last one counts first";
    EXPECT_EQ(lookUp("/app/bin/player", player), player);
    processSees("");
    EXPECT_FALSE(lookUp("/app/bin/player", player));
}

} // namespace
} // namespace velmoran
