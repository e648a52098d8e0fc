#include "system/linux/away/DeviceName.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

std::optional<std::string> named(std::string maker, std::string model,
                                 std::string makerInDatabase = {},
                                 std::string modelInDatabase = {}) {
    return deviceName({.maker = std::move(maker),
                       .model = std::move(model),
                       .makerInDatabase = std::move(makerInDatabase),
                       .modelInDatabase = std::move(modelInDatabase)});
}

TEST(DeviceName, IsMakerAndModel) {
    EXPECT_EQ(named("SanDisk", "Ultra"), "SanDisk Ultra");
    EXPECT_EQ(named(" Kingston ", "DataTraveler  3.0\n"), "Kingston DataTraveler 3.0");
}

TEST(DeviceName, SaysTheMakerOnce) {
    EXPECT_EQ(named("Logitech", "Logitech USB Receiver"), "Logitech USB Receiver");
    EXPECT_EQ(named("SanDisk", " sandisk 3.2Gen1"), "sandisk 3.2Gen1");
    EXPECT_EQ(named("Bose", "Boseman Speaker"), "Bose Boseman Speaker");
}

TEST(DeviceName, LeavesOutWhatIsNoName) {
    EXPECT_EQ(named(" USB", " SanDisk 3.2Gen1", "SanDisk Corp."), "SanDisk 3.2Gen1");
    EXPECT_EQ(named("Generic", "Flash Disk"), "Flash Disk");
    EXPECT_EQ(named("Generic", "Mass Storage"), "Mass Storage");
    EXPECT_EQ(named("058f", "6387", "Alcor Micro Corp.", "Flash Drive"), "Alcor Micro Flash Drive");
    EXPECT_EQ(named("0x0951", ""), std::nullopt);
    EXPECT_EQ(named("", ""), std::nullopt);
    EXPECT_EQ(named("  ", "\t\n"), std::nullopt);
}

TEST(DeviceName, AsksTheDatabaseWhereTheDeviceSaysNothing) {
    EXPECT_EQ(named("", "", "SanDisk Corp.", "Ultra Flair"), "SanDisk Ultra Flair");
    EXPECT_EQ(named("", "", "Logitech, Inc."), "Logitech");
    EXPECT_EQ(named("", "USB DISK", "Chipsbank Microelectronics Co., Ltd", "CBM2080 Flash drive"),
              "Chipsbank Microelectronics CBM2080 Flash drive");
    EXPECT_EQ(named("", "", "JMicron Technology Corp. / JMicron USA Technology Corp.", "SATA"),
              "JMicron Technology SATA");
}

TEST(DeviceName, KeepsAPlaceholderThatIsAllThereIs) {
    EXPECT_EQ(named("", "USB Device"), "USB Device");
    EXPECT_EQ(named("Kingston", "USB Device"), "Kingston USB Device");
}

TEST(DeviceName, IsOneLineOfTextWhateverTheDeviceSays) {
    EXPECT_EQ(named("", "Stick\nFake line"), "Stick Fake line");
    EXPECT_EQ(named("", "Stick\x1b[2J"), "Stick [2J");
    EXPECT_EQ(named("", "Stick \xE2\x80\xAEgpj"), "Stick gpj"); // right to left from here
    EXPECT_EQ(named("", "Stick\xFF"), "Stick\xEF\xBF\xBD");
}

// Round ones are ours: what stands in them, as a program's folder, is never the device's word.
TEST(DeviceName, HasNoBracketsThatCouldBeTakenForOurs) {
    EXPECT_EQ(named("", "Zoom (/usr/bin)"), "Zoom [/usr/bin]");
    EXPECT_EQ(named("", "Stick", "Acme Inc. (formerly Apex)"), "Acme Stick");
}

TEST(DeviceName, HasAnEnd) {
    EXPECT_EQ(named("", std::string(80, 'x')), std::string(80, 'x'));
    EXPECT_EQ(named("", std::string(500, 'x')),
              std::string(40, 'x') + "\u2026" + std::string(39, 'x'));
    EXPECT_EQ(named("Acme", std::string(500, 'x')),
              "Acme " + std::string(35, 'x') + "\u2026" + std::string(39, 'x'));
}

TEST(NameLine, IsNothingWhereNothingIsSeen) {
    EXPECT_EQ(nameLine("\u200B \u202E"), std::nullopt);
    EXPECT_EQ(nameLine("\u200BStick\u2028 1"), "Stick 1");
}

TEST(Unescaped, TurnsUdevsNumbersIntoCharacters) {
    EXPECT_EQ(unescaped("MY\\x20STICK"), "MY STICK");
    EXPECT_EQ(unescaped("\\x5cx20"), "\\x20");
    EXPECT_EQ(unescaped("B\\xc3\\xbccher"), "B\xC3\xBC"
                                            "cher");
    EXPECT_EQ(unescaped("a\\x2"), "a\\x2");
    EXPECT_EQ(unescaped("a\\xzz"), "a\\xzz");
    EXPECT_EQ(unescaped(""), "");
}

} // namespace
} // namespace velmoran
