#include "app/shell/OwnFile.h"
#include "support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

namespace fs = std::filesystem;

class OwnFileOnDisk : public ::testing::Test {
protected:
    void put(const fs::path& path, fs::perms rights = fs::perms::owner_all) const {
        std::ofstream(path) << "x";
        fs::permissions(path, rights);
    }

    fs::path folder() const { return folder_.path(); }

    TemporaryDirectory folder_;
    fs::path running_ = folder() / "running";
    fs::path program_ = folder() / "program";
};

TEST_F(OwnFileOnDisk, IsReplacedByAnotherFileInItsPlace) {
    put(program_);
    fs::create_hard_link(program_, running_); // what goes on running is the file, not its name
    const OwnFile own(program_.string(), running_.c_str());
    EXPECT_FALSE(own.isReplaced());
    put(folder() / "new");
    fs::rename(folder() / "new", program_);
    EXPECT_TRUE(own.isReplaced());
    fs::rename(running_, program_);
    EXPECT_FALSE(own.isReplaced()) << "the old one is back";
}

TEST_F(OwnFileOnDisk, IsNotReplacedByWhatCannotBeRun) {
    put(program_);
    fs::create_hard_link(program_, running_);
    const OwnFile own(program_.string(), running_.c_str());
    fs::remove(program_);
    EXPECT_FALSE(own.isReplaced()) << "it was purged";
    fs::create_directory(program_);
    EXPECT_FALSE(own.isReplaced());
    fs::remove(program_);
    put(program_, fs::perms::owner_read); // half unpacked; root can't run it either
    EXPECT_FALSE(own.isReplaced());
}

TEST_F(OwnFileOnDisk, IsNotReplacedWhereWhatRunsIsUnknown) {
    put(program_);
    EXPECT_FALSE(OwnFile(program_.string(), running_.c_str()).isReplaced());
}

TEST(OwnFile, IsThisProcessesByItself) {
    EXPECT_FALSE(OwnFile(fs::read_symlink("/proc/self/exe").string()).isReplaced());
    EXPECT_TRUE(OwnFile("/bin/sh").isReplaced());
}

} // namespace
} // namespace velmoran
