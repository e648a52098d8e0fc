#include "system/PeerProgram.h"

#include "support/RunningProgram.h"
#include "support/TemporaryDirectory.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmoran {
namespace {

/// The real path of a program that waits until it is killed.
std::string waiting() {
    return std::filesystem::canonical("/usr/bin/sleep");
}

TEST(PeerProgram, IsTheFileThatAProcessRuns) {
    const RunningProgram program(waiting(), {"velmoran", "1000"});
    const auto found = programOf(program.pid());
    EXPECT_EQ(found.pid, program.pid());
    EXPECT_EQ(found.path, waiting()) << "whatever it calls itself";
}

TEST(PeerProgram, IsNotKnownOfAProcessThatHasGone) {
    RunningProgram program(waiting(), {"sleep", "1000"});
    const auto pid = program.pid();
    program.end();
    for (const auto gone : {pid, 0, -1}) {
        EXPECT_FALSE(programOf(gone).path) << gone;
    }
}

TEST(PeerProgram, IsNoVelmoranByItsNameAlone) {
    const TemporaryDirectory folder;
    for (const auto* name : {"velmoran", "velmoranctl", "app/shell/velmoran", "ctl/velmoranctl"}) {
        const auto path = folder.path(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::filesystem::copy_file(waiting(), path);
        const RunningProgram program(path, {name, "1000"});
        const auto found = programOf(program.pid());
        EXPECT_EQ(found.path, path);
        EXPECT_FALSE(isVelmoran(found)) << path;
    }
}

TEST(PeerProgram, IsWhoHasLockedAFileAndNotWhoHasItOpen) {
    const TemporaryDirectory folder;
    const auto path = folder.write("a.lock", "");
    const auto isThis = [](const PeerProgram& program) {
        return program.pid == ::getpid();
    };
    const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_FALSE(isLockedBy(isThis, path));
    ASSERT_EQ(::flock(file, LOCK_EX | LOCK_NB), 0);
    EXPECT_TRUE(isLockedBy(isThis, path));
    EXPECT_FALSE(isLockedBy(isThis, folder.write("other.lock", "")));
    EXPECT_FALSE(isLockedBy([](const PeerProgram&) { return false; }, path));
    ::close(file);
    EXPECT_FALSE(isLockedBy(isThis, path));
}

TEST(PeerProgram, IsNoVelmoranByItsPlaceAlone) {
    EXPECT_FALSE(isVelmoran({.pid = 1, .path = waiting()}));
    EXPECT_FALSE(isVelmoran({.pid = 1, .path = std::nullopt}));
    EXPECT_FALSE(isVelmoran({.pid = 1, .path = "/usr/bin/velmoran-of-nobody"}));
}

} // namespace
} // namespace velmoran
