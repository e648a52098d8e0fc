#include "core/text/ConfinedText.h"

#include <gtest/gtest.h>

#include <string>

namespace velmoran {
namespace {

TEST(ConfinedText, LeavesOrdinaryNamesAsTheyAre) {
    for (const std::string text : {"dictate.py", "~/scripts", "Ünïcode 日本 ירוק",
                                   "a+b@c %s {x} [y]", "𝗺𝗮𝘁𝗵 🎙 “quoted”", ""}) {
        EXPECT_EQ(confinedText(text, 40), text);
    }
}

TEST(ConfinedText, IsOneLineOfWhatIsSeen) {
    EXPECT_EQ(confinedText(" a \t\n b\u00a0\u3000\u2028c \x1b[2J\x7f ", 40), "a b c [2J");
    EXPECT_EQ(confinedText("\u202Egpj\u2069.\u200bexe\u00ad\u2800\u3164", 40), "gpj.exe");
    EXPECT_EQ(confinedText("\u200B \u202E", 40), "");
    EXPECT_EQ(confinedText("a\xFF\xC2", 40), "a\uFFFD\uFFFD");
}

TEST(ConfinedText, HasNoBracketsThatCouldBeTakenForOurs) {
    EXPECT_EQ(confinedText("Firefox (/usr/lib)", 40), "Firefox [/usr/lib]");
    for (const std::string pair : {"（x）", "❨x❩", "﴿x﴾", "⁽x⁾", "₍x₎", "❲x❳", "〔x〕", "⦅x⦆"}) {
        EXPECT_EQ(confinedText(pair, 40), "[x]") << pair;
    }
}

TEST(ConfinedText, KeepsBothEndsOfWhatIsTooLong) {
    EXPECT_EQ(confinedText("abcdefghij", 10), "abcdefghij");
    EXPECT_EQ(confinedText("abcdefghijk", 10), "abcde…hijk");
    EXPECT_EQ(confinedText("日本語日本語", 12), "日本語日本語");
    EXPECT_EQ(confinedText("日本語日本語x", 12), "日本語…本語x");
    EXPECT_EQ(confinedText(std::string(1'000'000, 'x'), 3), "x…x");
}

} // namespace
} // namespace velmoran
