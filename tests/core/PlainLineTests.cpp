#include "core/text/PlainLine.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(PlainLine, LeavesWordsOfAnyLanguageAlone) {
    EXPECT_EQ(plainLine("Zoom – “Ünïcode” 日本 £ ÿ"), "Zoom – “Ünïcode” 日本 £ ÿ");
    EXPECT_EQ(plainLine(""), "");
}

TEST(PlainLine, TurnsWhatATerminalObeysIntoBlanks) {
    EXPECT_EQ(plainLine("a\x1B[2Jb\nc\rd\te\x7F"), "a [2Jb c d e ");
    EXPECT_EQ(plainLine(std::string("a\0b", 3)), "a b");
    EXPECT_EQ(plainLine("a\xC2\x9B"
                        "2Jb"),
              "a 2Jb");
    EXPECT_EQ(plainLine("a\xC2"), "a\xC2");
}

} // namespace
} // namespace velmoran
