#include "app/contents/ChartLayout.h"
#include "app/contents/Sessions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

using testing::day;
using ::testing::DoubleEq;
using ::testing::ElementsAre;
using testing::hour;
using ::testing::IsEmpty;
using testing::midnight;
using testing::sessionOf;
using testing::shared;
using ::testing::SizeIs;

constexpr ChartLayout::Margins margins{.left = 50, .bottom = 20, .top = 10, .right = 0};

/// A week whose today has half an hour of camera, on a scale of an hour.
ChartContent week() {
    auto content =
        ChartContent::of({shared(sessionOf("Call", Device::camera, midnight, midnight + 1800))},
                         ChartSpan::week, midnight + hour, Localizer());
    content.scale = {{0, 1800, 3600}};
    return content;
}

TEST(ChartLayout, PutsEachDayInTheMiddleOfItsShareOfTheWidth) {
    const ChartLayout layout(week(), 750, 230, margins);
    EXPECT_EQ(layout.plot(), (ChartRect{50, 10, 700, 200}));
    ASSERT_THAT(layout.camera(), SizeIs(7));
    EXPECT_DOUBLE_EQ(layout.xOf(0), 100);
    EXPECT_DOUBLE_EQ(layout.xOf(6), 700);
    EXPECT_THAT(layout.gridLines(), ElementsAre(210, 110, 10));
    EXPECT_DOUBLE_EQ(layout.camera()[6].y, 110);
    EXPECT_DOUBLE_EQ(layout.microphone()[6].y, 210);
}

TEST(ChartLayout, TurnsAPlaceIntoAMomentInThePlotAlone) {
    const auto content = week();
    const ChartLayout layout(content, 750, 230, margins);
    const auto moment = layout.momentAt({700, 100});
    ASSERT_TRUE(moment);
    EXPECT_EQ(content.dayNearest(*moment), 6U);
    EXPECT_EQ(layout.momentAt({50, 100}), content.days.front().day);
    EXPECT_EQ(layout.momentAt({49, 100}), std::nullopt);
    EXPECT_EQ(layout.momentAt({700, 211}), std::nullopt);
    EXPECT_EQ(layout.momentAt({700, 9}), std::nullopt);
}

TEST(ChartLayout, SelectsTheEarlierDayExactlyBetweenTwoNoons) {
    const auto content = week();
    const ChartLayout layout(content, 750, 230, margins);
    const auto moment = layout.momentAt({150, 100});
    EXPECT_EQ(moment, content.days[1].day);
    EXPECT_EQ(content.dayNearest(*moment), 0U);
}

TEST(ChartLayout, HasNothingToSelectWithoutDays) {
    const ChartLayout layout({}, 750, 230, margins);
    EXPECT_EQ(layout.momentAt({100, 100}), std::nullopt);
    EXPECT_THAT(layout.camera(), IsEmpty());
    EXPECT_THAT(layout.gridLines(), SizeIs(5));
}

TEST(ChartLayout, HoldsANoteBesideItsRule) {
    const ChartLayout layout(week(), 750, 230, margins);
    EXPECT_EQ(layout.noteFrame(0, 200, 100), (ChartRect{110, 10, 200, 100}));
    EXPECT_EQ(layout.noteFrame(6, 200, 100), (ChartRect{490, 10, 200, 100}));
}

RC_GTEST_PROP(ChartLayout, HoldsANoteInsideTheChart, ()) {
    const auto width = *rc::gen::inRange(60, 1200);
    const auto height = *rc::gen::inRange(40, 600);
    const auto noteWidth = *rc::gen::inRange(10, 61);
    const auto noteHeight = *rc::gen::inRange(10, 41);
    const ChartLayout layout(week(), width, height, margins);
    for (std::size_t index = 0; index < 7; ++index) {
        const auto frame = layout.noteFrame(index, noteWidth, noteHeight);
        RC_ASSERT(frame.x >= 0 && frame.right() <= width);
        RC_ASSERT(frame.y >= 0 && frame.bottom() <= height);
    }
}

TEST(ChartLayout, IsSafeInAWindowWithoutRoom) {
    const ChartLayout layout(week(), 10, 10, margins);
    EXPECT_EQ(layout.plot().width, 0);
    EXPECT_EQ(layout.plot().height, 0);
    EXPECT_EQ(layout.momentAt({50, 10}), std::nullopt);
}

} // namespace
} // namespace velmoran
