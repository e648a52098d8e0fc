#include "system/macos/AttributionMessage.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Table = AttributionTable;

const std::string words = "Active activity attributions changed to ";

std::string line(const std::string& array) {
    std::string quoted;
    for (const char c : array) {
        quoted += c == '"' ? "\\\"" : std::string(1, c);
    }
    return R"({"traceID":1,"eventMessage":")" + words + quoted + R"(","category":"x"})";
}

TEST(AttributionMessage, ReadsKeysAndValuesInTheirOrder) {
    EXPECT_EQ(parseAttributionMessage(words +
                                      R"(["mic:org.example.recorder","cam:org.example.meeting"])"),
              (Table{{"mic", {"org.example.recorder"}}, {"cam", {"org.example.meeting"}}}));
}

TEST(AttributionMessage, GivesAnEmptyTableForAnEmptyArray) {
    const auto table = parseAttributionMessage(words + "[]");
    ASSERT_TRUE(table);
    EXPECT_TRUE(table->empty());
}

TEST(AttributionMessage, KeepsDuplicates) {
    EXPECT_EQ(parseAttributionMessage(
                  words + R"(["mic:org.example.a","mic:org.example.a","cam:org.example.b"])"),
              (Table{{"mic", {"org.example.a", "org.example.a"}}, {"cam", {"org.example.b"}}}));
}

TEST(AttributionMessage, SkipsAnElementWithoutAColon) {
    EXPECT_EQ(parseAttributionMessage(words + R"(["mic:a","nothing","cam:b"])"),
              (Table{{"mic", {"a"}}, {"cam", {"b"}}}));
}

TEST(AttributionMessage, SplitsAtTheFirstColon) {
    EXPECT_EQ(parseAttributionMessage(words + R"(["mic:a:b"])"), (Table{{"mic", {"a:b"}}}));
    EXPECT_EQ(parseAttributionMessage(words + R"([":x","mic:"])"),
              (Table{{"", {"x"}}, {"mic", {""}}}));
}

TEST(AttributionMessage, KeepsUnknownKeys) {
    EXPECT_EQ(parseAttributionMessage(words + R"(["loc:a"])"), (Table{{"loc", {"a"}}}));
}

TEST(AttributionMessage, GivesNoTableForAnotherForm) {
    EXPECT_FALSE(parseAttributionMessage(R"(Active activity attributions: ["mic:a"])"));
    EXPECT_FALSE(parseAttributionMessage(words));
    EXPECT_FALSE(parseAttributionMessage(words + R"(["mic:a")"));
    EXPECT_FALSE(parseAttributionMessage(words + R"(["mic:a"] and more)"));
    EXPECT_FALSE(parseAttributionMessage(words + R"({"mic":"a"})"));
    EXPECT_FALSE(parseAttributionMessage(words + R"(["mic:a",7])"));
    EXPECT_FALSE(parseAttributionMessage(words + "\"mic:a\""));
}

TEST(AttributionMessage, LooksBehindTheFirstMarkerOnly) {
    EXPECT_FALSE(parseAttributionMessage(R"(changed to changed to ["mic:a"])"));
}

TEST(AttributionLine, ReadsOnlyTheMessageOfAnObject) {
    EXPECT_EQ(parseAttributionLine(line(R"(["mic:a"])")), (Table{{"mic", {"a"}}}));
    EXPECT_FALSE(parseAttributionLine(""));
    EXPECT_FALSE(parseAttributionLine("not JSON"));
    EXPECT_FALSE(parseAttributionLine(R"(["eventMessage"])"));
    EXPECT_FALSE(parseAttributionLine(R"({"eventMessage":7})"));
    EXPECT_FALSE(parseAttributionLine(R"({"message":"changed to []"})"));
    EXPECT_FALSE(parseAttributionLine("{\"eventMessage\":\"changed to [\\\"mic:\xff\\\"]\"}"));
}

TEST(AttributionHistory, LetsTheLatestTableWin) {
    const auto earlier = line(R"(["mic:a"])");
    const auto later = line(R"(["cam:b"])");
    EXPECT_EQ(parseAttributionHistory(earlier + "\n\n" + later + "\n"), (Table{{"cam", {"b"}}}));
    EXPECT_EQ(parseAttributionHistory(earlier + "\n" + later), (Table{{"cam", {"b"}}}));
}

TEST(AttributionHistory, IsNotWipedByALaterLineWithoutATable) {
    EXPECT_EQ(parseAttributionHistory(line(R"(["mic:a"])") + "\n{\"count\":1}\nrubbish\n"),
              (Table{{"mic", {"a"}}}));
}

TEST(AttributionHistory, OfNoLinesGivesNoTable) {
    EXPECT_FALSE(parseAttributionHistory(""));
    EXPECT_FALSE(parseAttributionHistory("\n\n"));
}

TEST(LineBuffer, KeepsTheTailOfALineForTheNextChunk) {
    LineBuffer buffer;
    buffer.append("one\ntw");
    EXPECT_EQ(buffer.popLine(), "one");
    EXPECT_FALSE(buffer.popLine());
    EXPECT_EQ(buffer.rest(), "tw");
    buffer.append("o\n\n");
    EXPECT_EQ(buffer.popLine(), "two");
    EXPECT_EQ(buffer.popLine(), "");
    EXPECT_FALSE(buffer.popLine());
    EXPECT_EQ(buffer.rest(), "");
}

} // namespace
} // namespace velmoran
