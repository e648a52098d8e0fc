#include "system/linux/away/LidSwitch.h"

#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace velmoran {
namespace {

class LidSwitchTest : public ::testing::Test {
protected:
    void addSwitches(const std::string& device, const std::string& text) const {
        folder_.write("inputs/" + device + "/capabilities/sw", text);
    }
    bool isThere() const { return hasLidSwitch(folder_.path("inputs")); }

    TemporaryDirectory folder_;
};

TEST_F(LidSwitchTest, IsOneOfTheSwitchesOfADevice) {
    addSwitches("input0", "0\n");
    EXPECT_FALSE(isThere());
    addSwitches("input1", "1\n");
    EXPECT_TRUE(isThere());
}

TEST_F(LidSwitchTest, IsNoOtherSwitch) {
    addSwitches("input0", "14\n");  // of headphones
    addSwitches("input1", "1 0\n"); // of a higher word
    addSwitches("input2", "");
    addSwitches("input3", "no number\n");
    std::filesystem::create_directories(folder_.path("inputs/mice"));
    EXPECT_FALSE(isThere());
    addSwitches("input4", "1 21\n"); // with others
    EXPECT_TRUE(isThere());
}

TEST_F(LidSwitchTest, MayBeThereWhereTheKernelShowsNothing) {
    EXPECT_TRUE(isThere());
}

} // namespace
} // namespace velmoran
