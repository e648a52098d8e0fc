#include "system/linux/kernel/NewestProcess.h"

#include "support/RunningProgram.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(NewestProcess, IsNotOlderThanWhatWasJustStarted) {
    const NewestProcess newest;
    const auto before = newest.id();
    ASSERT_TRUE(before);
    const RunningProgram program("/bin/sleep", {"sleep", "60"});
    const auto after = newest.id();
    ASSERT_TRUE(after);
    EXPECT_NE(*after, *before);
    // Unless the ids have begun anew in between.
    EXPECT_TRUE(*after >= program.pid() || *after < *before);
}

TEST(NewestProcess, IsReadFromTheSummaryWhereThereIsNoCounter) {
    const NewestProcess newest("/no/such/file", "/proc/loadavg");
    const auto before = newest.id();
    ASSERT_TRUE(before);
    const RunningProgram program("/bin/sleep", {"sleep", "60"});
    EXPECT_NE(newest.id(), before);
}

TEST(NewestProcess, IsNotKnownFromAFileThatStandsStill) {
    const TemporaryDirectory folder;
    for (const std::string text : {"4711\n", "0.00 0.00 0.00 1/100 4711\n"}) {
        EXPECT_FALSE(NewestProcess(folder.write("still", text), "/no/such/file").id()) << text;
        EXPECT_FALSE(NewestProcess("/no/such/file", folder.write("still", text)).id()) << text;
    }
}

TEST(NewestProcess, IsNotKnownWithoutAnyFileOrFromNonsense) {
    EXPECT_FALSE(NewestProcess("/no/such/file", "/no/such/file").id());
    const TemporaryDirectory folder;
    for (const std::string text : {"", "\n", "many\n", "-5\n", "12x\n", "99999999999999\n"}) {
        EXPECT_FALSE(NewestProcess(folder.write("nonsense", text), "").id()) << text;
    }
}

} // namespace
} // namespace velmoran
