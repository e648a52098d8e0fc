#include "system/linux/kernel/TimeStampFile.h"

#include "support/TemporaryDirectory.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

struct StampFile : ::testing::Test {
    TemporaryDirectory folder;
    const std::string path = folder.path("stamp");

    void setTime(std::chrono::seconds ago) const {
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - ago);
    }
    static double now() {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
                   .count() -
               secondsFromUnixEpoch;
    }
};

TEST_F(StampFile, SaysNothingTheFirstTime) {
    const TimeStampFile first(path);
    EXPECT_FALSE(first.before());
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::status(path).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(StampFile, SaysWhenItWasLastStamped) {
    {
        const TimeStampFile first(path);
        setTime(std::chrono::seconds(500));
        first.stampNow();
    }
    const TimeStampFile next(path);
    ASSERT_TRUE(next.before());
    EXPECT_NEAR(next.before()->seconds, now(), 60.0);
    setTime(std::chrono::seconds(500));
    const TimeStampFile later(path);
    ASSERT_TRUE(later.before());
    EXPECT_NEAR(later.before()->seconds, now() - 500.0, 60.0);
}

TEST_F(StampFile, KeepsNothingWhereItCannot) {
    for (const auto& nowhere : {std::string(), folder.path("none/stamp"),
                                folder.link("link", folder.write("elsewhere", ""))}) {
        const TimeStampFile file(nowhere);
        EXPECT_FALSE(file.before()) << nowhere;
        file.stampNow();
    }
}

} // namespace
} // namespace velmoran
