#include "system/linux/away/PowerSupplies.h"

#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

namespace velmoran {
namespace {

using Files = std::map<std::string, std::string>;

class PowerSuppliesTest : public ::testing::Test {
protected:
    void add(const std::string& name, const Files& files) {
        for (const auto& [file, text] : files) {
            folder_.write("class/" + name + "/" + file, text + "\n");
        }
    }
    std::optional<bool> isOnMainsHere() { return isOnMains(folder_.path("class")); }

    TemporaryDirectory folder_;
};

TEST_F(PowerSuppliesTest, SayNothingWithoutTheFolder) {
    EXPECT_EQ(isOnMainsHere(), std::nullopt);
}

TEST_F(PowerSuppliesTest, AMachineWithoutABatteryRunsOnMains) {
    std::filesystem::create_directory(folder_.path("class"));
    EXPECT_EQ(isOnMainsHere(), true);
    add("AC", {{"type", "Mains"}, {"online", "0"}});
    EXPECT_EQ(isOnMainsHere(), true);
}

TEST_F(PowerSuppliesTest, FollowTheCable) {
    add("BAT0", {{"type", "Battery"}, {"status", "Charging"}});
    add("AC", {{"type", "Mains"}, {"online", "1"}});
    EXPECT_EQ(isOnMainsHere(), true);
    add("AC", {{"online", "0"}});
    EXPECT_EQ(isOnMainsHere(), false);
    add("BAT0", {{"status", "Full"}});
    EXPECT_EQ(isOnMainsHere(), false);
    add("ucsi", {{"type", "USB"}, {"online", "1"}});
    EXPECT_EQ(isOnMainsHere(), true);
}

TEST_F(PowerSuppliesTest, ABatteryAloneSaysItByItsStatus) {
    add("BAT0", {{"type", "Battery"}, {"status", "Discharging"}});
    EXPECT_EQ(isOnMainsHere(), false);
    add("BAT0", {{"status", "Not charging"}});
    EXPECT_EQ(isOnMainsHere(), true);
}

TEST_F(PowerSuppliesTest, TheBatteryOfAMouseIsNone) {
    add("hidpp_battery_0", {{"type", "Battery"}, {"status", "Discharging"}, {"scope", "Device"}});
    EXPECT_EQ(isOnMainsHere(), true);
}

TEST_F(PowerSuppliesTest, WhatCannotBeReadIsNoSupply) {
    add("BAT0", {{"type", std::string(100000, 'x')}});
    add("AC", {{"online", "1"}});
    EXPECT_EQ(isOnMainsHere(), true);
    std::filesystem::create_directories(folder_.path("class/BAT1/type"));
    EXPECT_EQ(isOnMainsHere(), true);
}

} // namespace
} // namespace velmoran
