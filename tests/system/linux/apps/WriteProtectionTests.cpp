#include "system/linux/apps/WriteProtection.h"

#include "support/LinuxWorld.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

class WriteProtectionTest : public ::testing::Test {
protected:
    WriteProtection protection() const { return world.places().protection; }
    LinuxWorld world;
};

TEST_F(WriteProtectionTest, ProtectsWhatRootAloneCanWrite) {
    const auto file = world.program("usr/bin/tool");
    EXPECT_EQ(protection().realPath(file), file);
    EXPECT_TRUE(protection().protects(world.path("usr/bin")));
    EXPECT_FALSE(protection().protects(world.path("usr/bin/none")));
    EXPECT_FALSE(protection().protects("usr/bin/tool"));
    EXPECT_FALSE(protection().protects(""));
}

TEST_F(WriteProtectionTest, FollowsLinksThatAreProtectedThemselves) {
    const auto file = world.program("usr/lib/tool/tool");
    EXPECT_EQ(protection().realPath(world.link("usr/bin/a", file)), file);
    EXPECT_EQ(protection().realPath(world.link("usr/bin/b", "../lib/tool/tool")), file);
    EXPECT_FALSE(protection().protects(world.link("home/u/tool", file)));
    EXPECT_FALSE(
        protection().protects(world.link("usr/bin/c", world.program("home/u/tool-of-mine"))));
}

TEST_F(WriteProtectionTest, RefusesALoopOfLinks) {
    world.link("usr/bin/a", world.path("usr/bin/b"));
    world.link("usr/bin/b", world.path("usr/bin/a"));
    EXPECT_FALSE(protection().protects(world.path("usr/bin/a")));
}

TEST_F(WriteProtectionTest, RefusesWhatOthersCanWriteOrReplace) {
    const auto file = world.program("usr/bin/tool");
    std::filesystem::permissions(file, std::filesystem::perms(0757));
    EXPECT_FALSE(protection().protects(file));
    std::filesystem::permissions(file, std::filesystem::perms(0755));
    EXPECT_TRUE(protection().protects(file));
    std::filesystem::permissions(world.path("usr"), std::filesystem::perms(01777));
    EXPECT_FALSE(protection().protects(file));
    std::filesystem::permissions(world.path("usr"), std::filesystem::perms(0755));
    EXPECT_TRUE(protection().protects(file));
}

TEST_F(WriteProtectionTest, RefusesAGroupsWritingUnlessItIsRoots) {
    const auto file = world.program("usr/bin/tool");
    std::filesystem::permissions(file, std::filesystem::perms(0775));
    const auto groups = [&](gid_t roots) {
        return WriteProtection(world.path("usr"), getuid(), roots).protects(file);
    };
    EXPECT_TRUE(groups(getgid()));
    EXPECT_FALSE(groups(getgid() + 1));
}

TEST_F(WriteProtectionTest, RefusesAnotherOwner) {
    const auto file = world.program("usr/bin/tool");
    EXPECT_FALSE(WriteProtection(world.path("usr/.."), getuid() + 1).protects(file));
    EXPECT_FALSE(WriteProtection(world.path("usr"), getuid() + 1).protects(file));
}

TEST(WriteProtection, KnowsTheMachineItself) {
    const WriteProtection protection;
    const TemporaryDirectory folder;
    EXPECT_EQ(protection.realPath("/bin/sh"), std::filesystem::canonical("/bin/sh").string());
    EXPECT_EQ(protection.realPath("/usr/bin/../bin/env"), "/usr/bin/env");
    EXPECT_FALSE(protection.protects(folder.write("x", "")));
    // What lies behind such a link isn't what its text says.
    EXPECT_FALSE(protection.protects("/proc/self/root/usr/bin/env"));
    EXPECT_FALSE(protection.protects("/proc/self/exe"));
    EXPECT_FALSE(protection.protects("/dev/null"));
}

} // namespace
} // namespace velmoran
