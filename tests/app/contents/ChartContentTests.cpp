#include "app/contents/ChartContent.h"
#include "app/contents/Sessions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

using testing::appNamed;
using testing::day;
using ::testing::ElementsAre;
using testing::hour;
using ::testing::IsEmpty;
using testing::midnight;
using testing::sessionOf;
using testing::shared;
using ::testing::SizeIs;

const Timestamp chartNow = midnight + 10 * hour;

ChartContent chart(const SessionList& sessions, ChartSpan span = ChartSpan::week) {
    return ChartContent::of(sessions, span, chartNow, Localizer());
}

std::vector<std::string> textsOf(const std::vector<ChartContent::AxisLabel>& labels) {
    std::vector<std::string> texts;
    for (const auto& label : labels) {
        texts.push_back(label.text);
    }
    return texts;
}

DayUsage dayWith(int apps) {
    DayUsage usage{.day = midnight - day, .camera = 90, .microphone = 3660};
    for (int index = 0; index < apps; ++index) {
        usage.apps.push_back({appNamed("App" + std::to_string(index)), 600.0 - index});
    }
    return usage;
}

TEST(ChartSpan, SaysHowManyDaysItShowsAndNames) {
    EXPECT_EQ(labelOf(ChartSpan::week), "Week");
    EXPECT_EQ(labelOf(ChartSpan::month), "Month");
    EXPECT_EQ(labelOf(ChartSpan::quarter), "90 days");
    EXPECT_EQ(daysIn(ChartSpan::week), 7);
    EXPECT_EQ(daysIn(ChartSpan::month), 30);
    EXPECT_EQ(daysIn(ChartSpan::quarter), 90);
    EXPECT_EQ(daysBetweenLabels(ChartSpan::week), 1);
    EXPECT_EQ(daysBetweenLabels(ChartSpan::month), 7);
    EXPECT_EQ(daysBetweenLabels(ChartSpan::quarter), 14);
}

TEST(ChartContent, EndsWithToday) {
    for (const auto span : allChartSpans) {
        const auto content = chart({}, span);
        ASSERT_THAT(content.days, SizeIs(daysIn(span)));
        EXPECT_EQ(content.days.back().day, midnight);
        EXPECT_EQ(content.end, midnight + day);
        EXPECT_TRUE(content.isEmpty());
    }
}

TEST(ChartContent, NamesEachDayOfAWeekAndFewOfMore) {
    EXPECT_THAT(textsOf(chart({}).labels),
                ElementsAre("Thu", "Fri", "Sat", "Sun", "Mon", "Tue", "Wed"));
    EXPECT_THAT(textsOf(chart({}, ChartSpan::month).labels),
                ElementsAre("Feb 3", "Feb 10", "Feb 17", "Feb 24", "Mar 3"));
    EXPECT_THAT(chart({}, ChartSpan::quarter).labels, SizeIs(7));
    EXPECT_EQ(chart({}, ChartSpan::quarter).labels[1].day, 14U);
}

TEST(ChartContent, CountsCameraAndMicrophoneButNotTheSpeaker) {
    const auto content =
        chart({shared(sessionOf("Call", Device::camera, chartNow - 600, chartNow)),
               shared(sessionOf("Call", Device::microphone, chartNow - 300, chartNow)),
               shared(sessionOf("Song", Device::speaker, chartNow - 3000, chartNow))});
    EXPECT_FALSE(content.isEmpty());
    EXPECT_EQ(content.days.back().camera, 600);
    EXPECT_EQ(content.days.back().microphone, 300);
    EXPECT_EQ(content.scale.ticks, (std::vector<Seconds>{0, 120, 240, 360, 480, 600}));
    EXPECT_TRUE(
        chart({shared(sessionOf("Song", Device::speaker, chartNow - 3000, chartNow))}).isEmpty());
}

TEST(ChartContent, TakesTheDayWhoseNoonIsNearest) {
    const auto content = chart({});
    const auto noon = midnight - day + 12 * hour;
    EXPECT_EQ(content.dayNearest(noon), 5U);
    EXPECT_EQ(content.dayNearest(noon + 11 * hour), 5U);
    EXPECT_EQ(content.dayNearest(noon + 13 * hour), 6U);
    EXPECT_EQ(content.dayNearest(midnight - 100 * day), 0U);
    EXPECT_EQ(content.dayNearest(midnight + 100 * day), 6U);
}

TEST(ChartContent, TakesTheEarlierOfTwoDaysThatAreEquallyNear) {
    EXPECT_EQ(chart({}).dayNearest(midnight), 5U);
}

TEST(ChartContent, TakesNoDayWhereThereIsNone) {
    EXPECT_EQ(ChartContent().dayNearest(midnight), std::nullopt);
    EXPECT_EQ(ChartContent().indexOf(midnight), std::nullopt);
}

TEST(ChartContent, HasTheDaysOfAChangeOfClocks) {
    // 29 March 2026 has 23 hours in Berlin; its noon by the count of seconds is one o'clock.
    const Localizer berlin("de_DE", "Europe/Berlin", {});
    const auto monday = midnight + 26 * day - 2 * hour;
    const auto sunday = monday - 23 * hour;
    const auto content =
        ChartContent::of({shared(sessionOf("Call", Device::camera, sunday - hour, monday + hour))},
                         ChartSpan::week, monday + 2 * hour, berlin);
    ASSERT_THAT(content.days, SizeIs(7));
    EXPECT_EQ(content.days[5].day, sunday);
    EXPECT_EQ(content.days[5].camera, 23 * hour);
    EXPECT_EQ(content.days[6].camera, hour);
    EXPECT_EQ(content.end, monday + day);
    EXPECT_EQ(content.labels[5].text, "So");
}

TEST(ChartContent, SaysInItsTableWhatItDraws) {
    const auto content =
        chart({shared(sessionOf("Call", Device::camera, chartNow - 600, chartNow))});
    EXPECT_EQ(content.tableRow(6, Localizer()), (ChartContent::TableRow{"Today", "10 min", "0 s"}));
    EXPECT_EQ(content.tableRow(4, Localizer()),
              (ChartContent::TableRow{"Monday, Mar 2", "0 s", "0 s"}));
}

TEST(DayNoteContent, SaysHowLongEachDeviceWasUsed) {
    const auto note = DayNoteContent::of(dayWith(0), chartNow, Localizer());
    EXPECT_EQ(note.title, "Yesterday");
    EXPECT_EQ(note.camera, "1 min");
    EXPECT_EQ(note.microphone, "1 h 01 min");
    EXPECT_THAT(note.apps, IsEmpty());
    EXPECT_EQ(note.more, "");
}

TEST(DayNoteContent, ShowsFourAppsAndCountsTheRest) {
    const auto four = DayNoteContent::of(dayWith(4), chartNow, Localizer());
    EXPECT_THAT(four.apps, SizeIs(4));
    EXPECT_EQ(four.apps[3].app.name, "App3");
    EXPECT_EQ(four.apps[3].time, "9 min");
    EXPECT_EQ(four.more, "");
    const auto five = DayNoteContent::of(dayWith(5), chartNow, Localizer());
    EXPECT_THAT(five.apps, SizeIs(4));
    EXPECT_EQ(five.more, "and 1 more");
    EXPECT_EQ(DayNoteContent::of(dayWith(12), chartNow, Localizer()).more, "and 8 more");
}

TEST(ChartScale, HasStepsThatPeopleCountIn) {
    EXPECT_EQ(ChartScale::upTo(0).ticks, (std::vector<Seconds>{0, 900, 1800, 2700, 3600}));
    EXPECT_EQ(ChartScale::upTo(4).ticks, (std::vector<Seconds>{0, 1, 2, 3, 4}));
    EXPECT_EQ(ChartScale::upTo(1000).ticks, (std::vector<Seconds>{0, 300, 600, 900, 1200}));
    EXPECT_EQ(ChartScale::upTo(5 * hour).top(), 5 * hour);
    EXPECT_EQ(ChartScale::upTo(300 * day).ticks,
              (std::vector<Seconds>{0, 100 * day, 200 * day, 300 * day}));
}

RC_GTEST_PROP(ChartScale, ReachesWhatItIsFor, ()) {
    const auto most = *rc::gen::inRange(1, 100'000'000) / 7.0;
    const auto scale = ChartScale::upTo(most);
    RC_ASSERT(scale.top() >= most);
    RC_ASSERT(scale.ticks.size() >= 3U);
    RC_ASSERT(scale.ticks.size() <= 6U);
    // No more than one step too far, but for the smallest scale.
    RC_ASSERT(scale.top() - scale.ticks[1] < most || scale.ticks.size() == 3U);
}

} // namespace
} // namespace velmoran
