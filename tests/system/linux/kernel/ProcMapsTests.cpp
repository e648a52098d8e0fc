#include "system/linux/kernel/ProcMaps.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <unistd.h>

namespace velmoran {
namespace {

TEST(ProcMaps, ReadsAMappedNode) {
    const auto mapping = parseProcMapping("7f2c6c000000-7f2c6c1c2000 rw-s 00000000 00:05 412"
                                          "                        /dev/video0\n");
    ASSERT_TRUE(mapping);
    EXPECT_EQ(mapping->inode, 412u);
    EXPECT_EQ(mapping->path, "/dev/video0");
    EXPECT_EQ(mapping->device, "00:05");
    EXPECT_EQ(mapping->begin, 0x7f2c6c000000U);
    EXPECT_EQ(mapping->end, 0x7f2c6c1c2000U);
    EXPECT_FALSE(mapping->isExecutable);
}

TEST(ProcMaps, KnowsWhatMayBeRun) {
    EXPECT_TRUE(parseProcMapping("1000-2000 r-xp 00001000 fe:01 9  /a\n")->isExecutable);
    EXPECT_TRUE(parseProcMapping("1000-2000 --xs 00001000 fe:01 9  /a\n")->isExecutable);
    EXPECT_FALSE(parseProcMapping("1000-2000 rw-p 00001000 fe:01 9  /x\n")->isExecutable);
}

TEST(ProcMaps, KeepsSpacesInsideAPathAndTheMarkOfADeletedFile) {
    const auto mapping = parseProcMapping("55d0-55d1 r--p 00001000 fe:01 9  /tmp/a  b (deleted)\n");
    ASSERT_TRUE(mapping);
    EXPECT_EQ(mapping->path, "/tmp/a  b (deleted)");
}

TEST(ProcMaps, ReadsMemoryWithoutAFile) {
    const auto mapping = parseProcMapping("7ffd1000-7ffd2000 rw-p 00000000 00:00 0 \n");
    ASSERT_TRUE(mapping);
    EXPECT_EQ(mapping->inode, 0u);
    EXPECT_EQ(mapping->path, "");
}

TEST(ProcMaps, ShowsTheCodeOfAProcessAsThisProgramSeesItsFile) {
    const ProcFs proc;
    const auto mappings = executableMappings(getpid(), proc);
    ASSERT_TRUE(mappings);
    const auto program = proc.executable(getpid()).value_or("");
    const auto code =
        std::find_if(mappings->begin(), mappings->end(),
                     [&](const ProcMapping& mapping) { return mapping.path == program; });
    ASSERT_NE(code, mappings->end());
    const auto files = asMapped({program, "/nowhere", "/dev/null", "/usr/bin/env"});
    ASSERT_EQ(files.size(), 2U) << "what can be mapped";
    EXPECT_EQ(files.at(program).device, code->device);
    EXPECT_EQ(files.at(program).inode, code->inode);
    EXPECT_NE(files.at("/usr/bin/env").inode, code->inode);
}

TEST(ProcMaps, AreNotKnownOfAProcessThatHasGone) {
    EXPECT_FALSE(executableMappings(0, ProcFs()));
}

TEST(ProcMaps, RefusesWhatIsCutShortOrInAnotherForm) {
    for (const auto* line :
         {"", "7f2c", "7f2c-", "7f2c-7f2d", "7f2c-7f2d rw-s", "7f2c-7f2d rw-s 0 00:05",
          "7f2c-7f2d rw-s 0 00:05 x", "7f2c-7f2d rw-s 0 00-05 4", "xyz-7f2d rw-s 0 00:05 4 /dev/a",
          "7f2c-7f2d rwxsp 0 00:05 4 /dev/a", "7f2c-7f2d rw-s 0 00:05 4/dev/a",
          "7f2c-7f2d rw-s 0 00:05 99999999999999999999 /dev/a"}) {
        EXPECT_FALSE(parseProcMapping(line)) << line;
    }
}

} // namespace
} // namespace velmoran
