#include "core/text/NameSkeleton.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <string>

namespace velmoran {
namespace {

TEST(NameSkeleton, IsOneForNamesThatLookAlike) {
    for (const std::string other : {
             "pulseaudio volume control",
             "PULSEAUDIO VOLUME CONTROL",
             "PulseAudioVolumeControl",
             " PulseAudio  Volume\u00a0Control\u3000",
             "Pulse\u200bAudio\u2060 Volume Control\ufeff",
             "\u202aPulseAudio Volume Control\u202c\u2069",
             "PulseAudio\u034f Volume Contro\u0323l\u0301",
             "\u0420uls\u0435\u0410udi\u043e Volum\u0435 Control",
             "PulseAudi\u03bf V\u03bflume C\u03bfntr\u03bfl",
             "Pu1seAudio Vo|ume ControI",
             "PulseAudi0 V0lurne C0ntr0l",
             "Ｐｕｌｓｅ Ａｕｄｉｏ Ｖｏｌｕｍｅ Ｃｏｎｔｒｏｌ",
             "𝗣𝘂𝗹𝘀𝗲𝗔𝘂𝗱𝗶𝗼 𝒱𝑜𝓁𝓊𝓂𝑒 ℂ𝕠𝕟𝕥𝕣𝕠𝕝",
             "ᴘᴜʟꜱᴇᴀᴜᴅɪᴏ ᴠᴏʟᴜᴍᴇ ᴄᴏɴᴛʀᴏʟ",
             "“PulseAudio” Volume-Control.",
         }) {
        EXPECT_EQ(nameSkeleton(other), nameSkeleton("PulseAudio Volume Control")) << other;
    }
}

TEST(NameSkeleton, KnowsACapitalByItsLooksAndByItsSmallLetter) {
    for (const std::string other : {"inkscape", "INKSCAPE", "lnkscape", "1nkscape", "lNKSCAPE"}) {
        EXPECT_EQ(nameSkeleton(other), nameSkeleton("Inkscape")) << other;
    }
    EXPECT_EQ(nameSkeleton("\u0397ello"), nameSkeleton("Hello")) << "Eta, whose small one is none";
    EXPECT_EQ(nameSkeleton("\u0432rave"), nameSkeleton("Brave")) << "a small Cyrillic Ve";
    EXPECT_EQ(nameSkeleton("Maps"), nameSkeleton("rnaps"));
}

TEST(NameSkeleton, TakesSmallCapitalsForTheirLetters) {
    EXPECT_EQ(nameSkeleton("ᴀʙᴄᴅᴇꜰɢʜɪᴊᴋʟᴍɴᴏᴘꞯʀꜱᴛᴜᴠᴡʏᴢ"), nameSkeleton("abcdefghijklmnopqrstuvwyz"));
    EXPECT_EQ(nameSkeleton("\u0432\u043d\u043a\u043c\u0442"), nameSkeleton("bhkmt")) << "Cyrillic";
}

TEST(NameSkeleton, KeepsNamesApartThatDiffer) {
    for (const std::string other :
         {"Firefly", "Firefox 2", "Mozilla Firefox", "Fire", "Waterfox", ""}) {
        EXPECT_NE(nameSkeleton(other), nameSkeleton("Firefox")) << other;
    }
    EXPECT_NE(nameSkeleton("日本"), nameSkeleton("日木"));
    EXPECT_NE(nameSkeleton("מצלמה"), nameSkeleton("כאלמ"));
}

TEST(NameSkeleton, IsNothingWithoutALetterOrDigit) {
    for (const std::string name : {"", " ", "++", "…", "\u200b", "\u0301", "🎙"}) {
        EXPECT_EQ(nameSkeleton(name), "") << name;
    }
}

TEST(NameSkeleton, TakesWhatIsMalformed) {
    EXPECT_EQ(nameSkeleton("Fire\xFF\xC2"), nameSkeleton("Fire"));
}

RC_GTEST_PROP(NameSkeleton, OfASCIIIsWhatTheLibraryWouldSay, (const std::string& bytes)) {
    std::string text;
    for (const char c : bytes) {
        text += static_cast<char>(c & 0x7F);
    }
    // With a character that isn't seen it goes the long way.
    RC_ASSERT(nameSkeleton(text) == nameSkeleton(text + "\u200b"));
}

} // namespace
} // namespace velmoran
