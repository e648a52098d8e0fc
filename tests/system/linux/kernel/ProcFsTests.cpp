#include "system/linux/kernel/ProcFs.h"

#include "support/FakeProc.h"
#include "support/OpenDescriptors.h"
#include "support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

TEST(ProcEntries, ReadsAStatLineWhoseNameHoldsBracketsAndLineEnds) {
    const auto entry =
        parseProcStat("42 (a) R 7 (b\n) S 13 1 1 0 -1 4194560 1 0 0 0 0 0 0 0 20 0 1 "
                      "0 987654321 1000 10\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->pid, 42);
    EXPECT_EQ(entry->comm, "a) R 7 (b\n");
    EXPECT_EQ(entry->state, 'S');
    EXPECT_EQ(entry->parent, 13);
    EXPECT_EQ(entry->startTicks, 987654321U);
}

TEST(ProcEntries, RefusesStatLinesOfAnotherForm) {
    const std::string good = FakeProc::statLine(42, 1, 5);
    ASSERT_TRUE(parseProcStat(good));
    for (const std::string& bad :
         {std::string(), std::string("42"), std::string("42 (x)"), std::string("42 (x) S"),
          std::string("42 (x) S 1 2 3"),
          std::string("x (x) S 1 1 1 0 -1 1 1 0 0 0 0 0 0 0 2 0 1 0 5"), std::string(") (42"),
          "-" + good, std::string("42 (x) S -1") + good.substr(13)}) {
        EXPECT_FALSE(parseProcStat(bad)) << bad;
    }
}

TEST(ProcEntries, SplitsACommandLineAtZeroBytesAndKeepsEmptyArguments) {
    using namespace std::string_view_literals;
    EXPECT_THAT(parseCommandLine("a\0\0b c\0"sv), ElementsAre("a", "", "b c"));
    EXPECT_THAT(parseCommandLine("title"sv), ElementsAre("title"));
    EXPECT_THAT(parseCommandLine(""sv), IsEmpty());
}

TEST(ProcEntries, GivesTheUnifiedControlGroupFirst) {
    EXPECT_THAT(parseCgroupPaths("12:pids:/p\n1:name=systemd:/user.slice/app.scope\nnonsense\n"
                                 "x:y:/z\n0::/unified:with:colons\n3:cpu:relative\n"),
                ElementsAre("/unified:with:colons", "/user.slice/app.scope", "/p"));
}

TEST(ProcEntries, ReadsTheRealUserId) {
    EXPECT_EQ(parseStatusUid("Name:\tx\nUid:\t1000\t0\t0\t0\n"), uid_t{1000});
    EXPECT_FALSE(parseStatusUid("Name:\tx\n"));
    EXPECT_FALSE(parseStatusUid("Uid:\tx\n"));
}

TEST(ProcEntries, ReadsHowAFileWasOpened) {
    EXPECT_EQ(parseDescriptorFlags("pos:\t0\nflags:\t02000002\nmnt_id:\t9\n"), 02000002U);
    EXPECT_EQ(parseDescriptorFlags("pos:\t0\nmnt_id:\t9\n"), std::nullopt);
    EXPECT_EQ(parseDescriptorFlags("flags:\t09\n"), std::nullopt);
    EXPECT_EQ(parseDescriptorFlags("flags:\t\n"), std::nullopt);
    EXPECT_EQ(parseDescriptorFlags(""), std::nullopt);
}

TEST(ProcFs, ReadsThisProcess) {
    const ProcFs proc;
    const pid_t self = getpid();
    EXPECT_EQ(proc.executable(self), std::filesystem::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(proc.parent(self), getppid());
    EXPECT_EQ(proc.uid(self), getuid());
    EXPECT_TRUE(proc.isReadable(self));
    EXPECT_TRUE(proc.sharesMounts(self));
    EXPECT_THAT(proc.pids(), Contains(self));
    EXPECT_FALSE(proc.commandLine(self).empty());
    EXPECT_FALSE(proc.cgroupPaths(self).empty());
    EXPECT_GT(proc.startTicks(self).value_or(0), 0U);
    EXPECT_EQ(proc.workingDirectory(self), std::filesystem::current_path().string());
}

TEST(ProcFs, ListsDescriptorsWithTheirTargets) {
    const TemporaryDirectory folder;
    const auto file = folder.write("held", "x");
    const int held = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(held, 0);
    EXPECT_THAT(support::openDescriptors(getpid()), Contains(Pair(held, file)));
    close(held);
    EXPECT_THAT(support::openDescriptors(getpid()), Not(Contains(Pair(held, file))));
}

TEST(ProcFs, TellsNothingOfAProcessThatIsGone) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    const ProcFs proc;
    EXPECT_FALSE(proc.stat(child));
    EXPECT_FALSE(proc.executable(child));
    EXPECT_FALSE(proc.isReadable(child));
    EXPECT_THAT(proc.commandLine(child), IsEmpty());
    EXPECT_THAT(proc.cgroupPaths(child), IsEmpty());
    EXPECT_THAT(support::openDescriptors(child), IsEmpty());
}

/// A copy of "sleep" under a name of the test's choice.
std::string copyOfSleep(const std::string& at) {
    std::filesystem::copy_file("/bin/sleep", at);
    return at;
}

TEST(ProcFs, GivesTheFormerPathOfADeletedExecutable) {
    const TemporaryDirectory folder;
    const RunningProgram copy(copyOfSleep(folder.path("napper")), {"sleep", "60"});
    EXPECT_EQ(ProcFs().executable(copy.pid()), folder.path("napper"));
    std::filesystem::remove(folder.path("napper"));
    EXPECT_EQ(ProcFs().executable(copy.pid()), folder.path("napper"));
}

TEST(ProcFs, IsNotFooledByAFileThatIsCalledDeleted) {
    const TemporaryDirectory folder;
    const RunningProgram copy(copyOfSleep(folder.path("trusted (deleted)")), {"sleep", "60"});
    EXPECT_EQ(ProcFs().executable(copy.pid()), folder.path("trusted (deleted)"));
}

TEST(ProcFs, DoesNotBelieveThePathOfAForeignNamespace) {
    const TemporaryDirectory folder;
    const auto real = folder.write("usr/bin/recorder", "real", true);
    FakeProc proc;
    // What the process runs is not what lies at the path that its link names here.
    proc.add(10, {.executable = "/nowhere/usr/bin/recorder", .mounts = "mnt:[2]"});
    proc.add(11, {.executable = real, .mounts = "mnt:[2]"});
    proc.add(12, {.executable = "/nowhere/usr/bin/recorder (deleted)"});
    EXPECT_FALSE(proc.fs().executable(10));
    EXPECT_EQ(proc.fs().executableClaim(10), "/nowhere/usr/bin/recorder");
    EXPECT_EQ(proc.fs().executable(11), real);
    EXPECT_EQ(proc.fs().executable(12), "/nowhere/usr/bin/recorder");
}

bool writeMap(const char* file, const std::string& text) {
    return bool(std::ofstream(file) << text << std::flush);
}

/// A mount namespace of this process's own, in which it may mount.
bool enterOwnMounts() {
    const auto uid = std::to_string(getuid());
    const auto gid = std::to_string(getgid());
    const bool isThere =
        unshare(CLONE_NEWNS) == 0 || (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
                                      writeMap("/proc/self/uid_map", uid + ' ' + uid + " 1") &&
                                      writeMap("/proc/self/setgroups", "deny") &&
                                      writeMap("/proc/self/gid_map", gid + ' ' + gid + " 1"));
    return isThere && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

TEST(ProcFs, DoesNotBelieveThePathOfAMountThatWasTakenAway) {
    const TemporaryDirectory folder;
    const std::string victim = std::filesystem::canonical("/usr/bin/env");
    const pid_t child = fork();
    if (child == 0) {
        if (!enterOwnMounts() || mount("none", folder.path().c_str(), "tmpfs", 0, nullptr) != 0) {
            _exit(99);
        }
        int wrong = 0;
        for (const bool isDeleted : {false, true}) {
            // Where it lies is the victim's path, as seen from the root of that mount.
            const auto copy = folder.path() + victim;
            std::filesystem::create_directories(std::filesystem::path(copy).parent_path());
            const RunningProgram program(copyOfSleep(copy), {"sleep", "60"});
            wrong += ProcFs().executable(program.pid()) == copy ? 0 : 1;
            if (isDeleted) {
                std::filesystem::remove(copy);
                wrong += ProcFs().executable(program.pid()) == copy ? 0 : 2;
            }
            umount2(folder.path().c_str(), MNT_DETACH);
            wrong += ProcFs().executableClaim(program.pid()) == victim ? 0 : 4;
            wrong += ProcFs().executable(program.pid()) ? 8 : 0;
            wrong += mount("none", folder.path().c_str(), "tmpfs", 0, nullptr) == 0 ? 0 : 16;
        }
        _exit(wrong);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 99) {
        GTEST_SKIP() << "may not make a mount namespace here";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(ProcFs, KnowsAProgramInMemory) {
    const int memory = memfd_create("x/../../usr/bin/env", MFD_CLOEXEC);
    const auto program = readFileUpTo("/bin/sleep", 16UL * 1024 * 1024).value_or("");
    ASSERT_EQ(write(memory, program.data(), program.size()), std::ssize(program));
    const RunningProgram running("/proc/self/fd/" + std::to_string(memory), {"sleep", "60"});
    close(memory);
    const auto executable = ProcFs().executable(running.pid());
    ASSERT_EQ(executable, "/memfd:x/../../usr/bin/env");
    EXPECT_TRUE(liesInMemory(*executable));
    EXPECT_FALSE(liesInMemory("/usr/bin/env"));
}

TEST(ProcFs, ReadsOneVariableOfTheEnvironment) {
    FakeProc proc;
    proc.add(10, {.executable = "/x", .environment = {"HOMEDRIVE=C:", "HOME=/home/u", "EMPTY="}});
    EXPECT_EQ(proc.fs().environmentVariable(10, "HOME"), "/home/u");
    EXPECT_EQ(proc.fs().environmentVariable(10, "EMPTY"), "");
    EXPECT_FALSE(proc.fs().environmentVariable(10, "PATH"));
}

TEST(ProcFs, BoundsItsReadsAndIsNotHeldUpByAPipe) {
    const TemporaryDirectory folder;
    const auto big = folder.write("big", std::string(100000, 'x'));
    EXPECT_EQ(readFileUpTo(big, 5000)->size(), 5000U);
    EXPECT_EQ(readFileUpTo(big, 1000000)->size(), 100000U);
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(readFileUpTo(folder.path("pipe"), 10));
    EXPECT_FALSE(readFileUpTo(folder.path(), 10));
    EXPECT_FALSE(readFileUpTo(folder.path("none"), 10));
    EXPECT_FALSE(readLinkText(big));
}

} // namespace
} // namespace velmoran
