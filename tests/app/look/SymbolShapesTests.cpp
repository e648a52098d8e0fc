#include "app/look/SymbolShapes.h"

#include <gtest/gtest.h>
#include <string>

namespace velmoran {
namespace {

std::vector<SymbolShape> shapesOf(const std::string& inside, const std::string& style = "") {
    return symbolShapes("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 24 24\" " + style +
                        ">" + inside + "</svg>");
}

TEST(SymbolShapes, ReadsLinesAndCurves) {
    const auto shapes = shapesOf(R"(<path d="M2 3 L4,5 H10 V12 C10 13 9 14 8 14 Z"/>)");
    ASSERT_EQ(shapes.size(), 1U);
    const auto& path = shapes[0].path;
    EXPECT_EQ(path.elementAt(0), QPointF(2, 3));
    EXPECT_EQ(path.elementAt(1), QPointF(4, 5));
    EXPECT_EQ(path.elementAt(2), QPointF(10, 5));
    EXPECT_EQ(path.elementAt(3), QPointF(10, 12));
    EXPECT_EQ(path.currentPosition(), QPointF(2, 3));
}

TEST(SymbolShapes, ReadsArcsBothWaysAround) {
    // From nine o'clock to three o'clock on a circle around (12, 12).
    const auto over = shapesOf(R"(<path d="M4 12 A8 8 0 0 1 20 12"/>)");
    const auto under = shapesOf(R"(<path d="M4 12 A8 8 0 0 0 20 12"/>)");
    ASSERT_EQ(over.size(), 1U);
    ASSERT_EQ(under.size(), 1U);
    EXPECT_NEAR(over[0].path.boundingRect().top(), 4, 0.01);
    EXPECT_NEAR(over[0].path.boundingRect().bottom(), 12, 0.01);
    EXPECT_NEAR(under[0].path.boundingRect().top(), 12, 0.01);
    EXPECT_NEAR(under[0].path.boundingRect().bottom(), 20, 0.01);
    // Three quarters, the long way.
    const auto large = shapesOf(R"(<path d="M12 4 A8 8 0 1 1 4 12"/>)");
    ASSERT_EQ(large.size(), 1U);
    EXPECT_NEAR(large[0].path.boundingRect().right(), 20, 0.01);
    EXPECT_NEAR(large[0].path.boundingRect().bottom(), 20, 0.01);
    EXPECT_NEAR(large[0].path.currentPosition().x(), 4, 0.01);
}

TEST(SymbolShapes, TakesTheStyleFromTheElementOrElseFromTheOuterOne) {
    const auto shapes = shapesOf(R"(<circle cx="5" cy="6" r="2"/>
                    <rect x="1" y="2" width="3" height="4" rx="1" fill="currentColor" stroke="none"/>
                    <path d="M1 1 L2 2" stroke-width="3"/>)",
                                 R"(fill="none" stroke="currentColor" stroke-width="1.75")");
    ASSERT_EQ(shapes.size(), 3U);
    EXPECT_FALSE(shapes[0].isFilled);
    EXPECT_EQ(shapes[0].lineWidth, 1.75);
    EXPECT_EQ(shapes[0].path.boundingRect(), QRectF(3, 4, 4, 4));
    EXPECT_TRUE(shapes[1].isFilled);
    EXPECT_EQ(shapes[1].lineWidth, 0);
    EXPECT_EQ(shapes[1].path.boundingRect(), QRectF(1, 2, 3, 4));
    EXPECT_EQ(shapes[2].lineWidth, 3);
}

TEST(SymbolShapes, RefusesWhatItDoesNotKnow) {
    EXPECT_TRUE(shapesOf(R"(<path d="m2 3 l4 5"/>)").empty());
    EXPECT_TRUE(shapesOf(R"(<path d="M2"/>)").empty());
    EXPECT_TRUE(shapesOf(R"(<path d="M2 x L3 3"/>)").empty());
    EXPECT_TRUE(shapesOf(R"(<path d="5 5 L3 3"/>)").empty());
    EXPECT_TRUE(shapesOf(R"(<path d="M4 12 A8 4 0 0 1 20 12"/>)").empty());
    EXPECT_TRUE(shapesOf(R"(<g><path d="M1 1 L2 2"/></g>)").empty());
    EXPECT_TRUE(shapesOf("<path").empty());
    EXPECT_TRUE(symbolShapes("").empty());
    EXPECT_TRUE(symbolShapes(R"(<svg viewBox="0 0 32 32"><path d="M1 1 L2 2"/></svg>)").empty());
}

} // namespace
} // namespace velmoran
