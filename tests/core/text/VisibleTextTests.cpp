#include "core/text/VisibleText.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(VisibleText, ShowsWordsOfAnyLanguage) {
    for (const auto* text : {"a", " x ", "日本", "مسجل", "🎙", "é", ".", "\u200Ba"}) {
        EXPECT_TRUE(showsAnything(text)) << text;
    }
}

TEST(VisibleText, ShowsWhatIsMalformed) {
    EXPECT_TRUE(showsAnything("\xFF"));
    EXPECT_TRUE(showsAnything("\xE2\x80"));
}

TEST(VisibleText, ShowsNothingOfBlanksAndWhatDrawsNothing) {
    for (const auto* text : {"", " ", "\t\n", "\u00A0\u3000", "\u200B\u202E", "\u2066\u2069",
                             "\uFEFF", "\u3164", "\u2800", "\u00AD", "\u2028"}) {
        EXPECT_FALSE(showsAnything(text)) << testing::PrintToString(text);
    }
}

} // namespace
} // namespace velmoran
