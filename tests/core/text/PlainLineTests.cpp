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
    EXPECT_EQ(plainLine("a\u2028b\u2029c"), "a b c");
}

TEST(PlainLine, KeepsItsDirection) {
    EXPECT_EQ(plainLine("a\u202Egpj.exe\u2066b\u2069"), "a gpj.exe b ");
    // Joiners and marks belong to words and emoji.
    EXPECT_EQ(plainLine("\u0645\u200C\u200F👩\u200D💻"), "\u0645\u200C\u200F👩\u200D💻");
}

TEST(PlainLine, ReplacesWhatIsNotUtf8) {
    EXPECT_EQ(plainLine("a\xC2"), "a\uFFFD");
    // A control character for a terminal that reads bytes.
    EXPECT_EQ(plainLine("a\x9B"
                        "2Jb\xFF"),
              "a\uFFFD2Jb\uFFFD");
}

TEST(PlainLine, EscapesTheSameInJson) {
    EXPECT_EQ(plainJson("{\"name\":\"Zoom ü\"}"), "{\"name\":\"Zoom ü\"}");
    EXPECT_EQ(plainJson("\"a\xC2\x9B"
                        "2J\x7F\u202E\u2028\""),
              "\"a\\u009b2J\\u007f\\u202e\\u2028\"");
    EXPECT_EQ(plainJson("\"a\xFF\""), "\"a\uFFFD\"");
}

} // namespace
} // namespace velmoran
