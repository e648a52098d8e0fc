#include "core/text/CellText.h"

#include <gtest/gtest.h>
#include <string>

namespace velmoran {
namespace {

TEST(CellText, CountsColumnsAsATerminalDoes) {
    EXPECT_EQ(columnsOf(""), 0U);
    EXPECT_EQ(columnsOf("Zoom"), 4U);
    EXPECT_EQ(columnsOf("Grüße"), 5U);
    EXPECT_EQ(columnsOf("e\xCC\x81"), 1U) << "a mark stands on its letter";
    EXPECT_EQ(columnsOf("会議"), 4U);
    EXPECT_EQ(columnsOf("📷"), 2U);
    EXPECT_EQ(columnsOf("a\xE2\x80\x8B"), 1U) << "a space without a width";
}

TEST(CellText, PadsByColumns) {
    EXPECT_EQ(padded("ü", 3), "ü  ");
    EXPECT_EQ(paddedBefore("会", 3), " 会");
    EXPECT_EQ(padded("long", 2), "long");
    EXPECT_EQ(paddedBefore("long", 2), "long");
}

TEST(CellText, CutsWhatIsTooLong) {
    EXPECT_EQ(cutLine("Zoom", 4), "Zoom");
    EXPECT_EQ(cutLine("Zooms", 4), "Zoo…");
    EXPECT_EQ(cutLine("会議室", 4), "会…");
    EXPECT_EQ(cutLine("会議室", 5), "会議…");
    EXPECT_EQ(cutLine("a\x1b[31m\nb", 20), "a [31m b");
    EXPECT_EQ(columnsOf(cutLine(std::string(10'000, 'x'), 100)), 100U);
    std::string marks = "e";
    for (int i = 0; i < 10'000; ++i) {
        marks += "\xCC\x81";
    }
    const auto cut = cutLine(marks, 20);
    EXPECT_LT(cut.size(), 400U) << "marks take no column, and there is no end of them";
    EXPECT_TRUE(cut.ends_with("…"));
}

TEST(CellText, QuotesACellWhereItHasTo) {
    EXPECT_EQ(csvCell(""), "");
    EXPECT_EQ(csvCell("Zoom"), "Zoom");
    EXPECT_EQ(csvCell("a,b"), "\"a,b\"");
    EXPECT_EQ(csvCell("a;b"), "\"a;b\"");
    EXPECT_EQ(csvCell("say \"hi\""), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(csvCell(" a"), "\" a\"");
    EXPECT_EQ(csvCell("a\r\nb"), "a  b");
    EXPECT_EQ(csvCell("a\x1b]0;t\x07"), "\"a ]0;t \"");
    EXPECT_EQ(csvCell("a\xFF"), "a\xEF\xBF\xBD");
}

TEST(CellText, DisarmsFormulas) {
    EXPECT_EQ(csvCell("=1+1"), "'=1+1");
    EXPECT_EQ(csvCell("+1"), "'+1");
    EXPECT_EQ(csvCell("-1"), "'-1");
    EXPECT_EQ(csvCell("@SUM(A1)"), "'@SUM(A1)");
    EXPECT_EQ(csvCell("\t=1"), "' =1");
    EXPECT_EQ(csvCell("\tx"), "' x");
    EXPECT_EQ(csvCell("\rx"), "' x");
    EXPECT_EQ(csvCell("\n=1"), "' =1");
    EXPECT_EQ(csvCell("  =1"), "'  =1");
    EXPECT_EQ(csvCell("\x01=1"), "' =1");
    EXPECT_EQ(csvCell("＝1"), "'＝1");
    EXPECT_EQ(csvCell("=HYPERLINK(\"http://a\",\"b\")"),
              "\"'=HYPERLINK(\"\"http://a\"\",\"\"b\"\")\"");
    EXPECT_EQ(csvCell("a=1"), "a=1");
    EXPECT_EQ(csvCell("3-2"), "3-2");
}

} // namespace
} // namespace velmoran
