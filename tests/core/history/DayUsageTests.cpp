#include "core/history/DayUsage.h"

#include "ActivityTools.h"

#include <gtest/gtest.h>
#include <limits>

namespace velmoran {
namespace {

const Timestamp tuesdayNoon{794232000}; // 2026-03-03 12:00 UTC
constexpr Seconds anHour = 3600;
constexpr Seconds aDay = 24 * anHour;

const Localizer& utc() {
    static const Localizer calendar("en_US", "UTC", {});
    return calendar;
}

/// How long each day is, by a session that goes on all the time.
std::vector<Seconds> dayLengths(int count, Timestamp now, const Localizer& calendar) {
    std::vector<Seconds> result;
    for (const auto& day : DayUsage::days(
             {someUse({.start = now.seconds - 400 * aDay, .end = now.seconds + 2 * aDay})}, count,
             now, calendar)) {
        result.push_back(day.camera);
    }
    return result;
}

TEST(DayUsage, GivesTheOldestDayFirstAndTodayLast) {
    const auto days = DayUsage::days({}, 3, tuesdayNoon, utc());
    ASSERT_EQ(days.size(), 3U);
    const auto midnight = tuesdayNoon - 12 * anHour;
    EXPECT_EQ(days[0], (DayUsage{.day = midnight - 2 * aDay}));
    EXPECT_EQ(days[1], (DayUsage{.day = midnight - aDay}));
    EXPECT_EQ(days[2], (DayUsage{.day = midnight}));
}

TEST(DayUsage, GivesNothingForNoDays) {
    EXPECT_TRUE(DayUsage::days({}, 0, tuesdayNoon, utc()).empty());
    EXPECT_TRUE(DayUsage::days({}, -1, tuesdayNoon, utc()).empty());
    EXPECT_TRUE(DayUsage::days({}, std::numeric_limits<int>::min(), tuesdayNoon, utc()).empty());
}

TEST(DayUsage, SplitsASessionAtMidnight) {
    const auto midnight = tuesdayNoon.seconds - 12 * anHour;
    const auto days = DayUsage::days(
        {someUse({.device = Device::microphone, .start = midnight - 600, .end = midnight + 600})},
        2, tuesdayNoon, utc());
    ASSERT_EQ(days.size(), 2U);
    for (const auto& day : days) {
        EXPECT_EQ(day.microphone, 600);
        EXPECT_EQ(day.camera, 0);
        ASSERT_EQ(day.apps.size(), 1U);
        EXPECT_EQ(day.apps[0].seconds, 600);
    }
}

TEST(DayUsage, CountsAnOpenSessionUpToNow) {
    const auto midnight = tuesdayNoon.seconds - 12 * anHour;
    const auto days =
        DayUsage::days({someUse({.start = midnight - 2 * anHour})}, 2, tuesdayNoon, utc());
    ASSERT_EQ(days.size(), 2U);
    EXPECT_EQ(days[0].camera, 2 * anHour);
    EXPECT_EQ(days[1].camera, 12 * anHour);
}

TEST(DayUsage, CountsNothingWhoseEndNobodySaw) {
    const auto days = DayUsage::days(
        {someUse({.start = tuesdayNoon.seconds - anHour, .outcome = SessionOutcome::endUnknown})},
        1, tuesdayNoon, utc());
    EXPECT_EQ(days.front(), (DayUsage{.day = tuesdayNoon - 12 * anHour}));
}

TEST(DayUsage, AddsUsesThatOverlap) {
    const auto start = tuesdayNoon.seconds - anHour;
    const auto days = DayUsage::days(
        {someUse({.device = Device::camera, .start = start, .end = start + 600}),
         someUse({.device = Device::microphone, .start = start, .end = start + 600}),
         someUse(
             {.device = Device::microphone, .app = "other", .start = start, .end = start + 300})},
        1, tuesdayNoon, utc());
    const auto& day = days.front();
    EXPECT_EQ(day.camera, 600);
    EXPECT_EQ(day.microphone, 900);
    ASSERT_EQ(day.apps.size(), 2U);
    EXPECT_EQ(day.apps[0].app.id, "zoom");
    EXPECT_EQ(day.apps[0].seconds, 1200);
    EXPECT_EQ(day.apps[1].seconds, 300);
}

TEST(DayUsage, NeverCountsTheSpeaker) {
    const auto days = DayUsage::days({someUse({.device = Device::speaker,
                                               .start = tuesdayNoon.seconds - anHour,
                                               .end = tuesdayNoon.seconds})},
                                     1, tuesdayNoon, utc());
    EXPECT_EQ(days.front(), (DayUsage{.day = tuesdayNoon - 12 * anHour}));
}

TEST(DayUsage, HasDaysWithoutUseBetweenOthers) {
    const auto days =
        DayUsage::days({someUse({.start = tuesdayNoon.seconds - 2 * aDay,
                                 .end = tuesdayNoon.seconds - 2 * aDay + 60}),
                        someUse({.start = tuesdayNoon.seconds - 60, .end = tuesdayNoon.seconds})},
                       3, tuesdayNoon, utc());
    ASSERT_EQ(days.size(), 3U);
    EXPECT_EQ(days[0].camera, 60);
    EXPECT_EQ(days[1], (DayUsage{.day = tuesdayNoon - 12 * anHour - aDay}));
    EXPECT_EQ(days[2].camera, 60);
}

TEST(DayUsage, HasDaysAsLongAsTheyAre) {
    const Localizer berlin("de_DE", "Europe/Berlin", {});
    // Clocks went forward on 2026-03-29; it is noon on 2026-04-01.
    EXPECT_EQ(dayLengths(7, {796730400}, berlin),
              (std::vector<Seconds>{24 * anHour, 24 * anHour, 24 * anHour, 23 * anHour, 24 * anHour,
                                    24 * anHour, 24 * anHour}));
    // And back on 2026-10-25; it is noon on that day.
    EXPECT_EQ(dayLengths(2, {814618800}, berlin), (std::vector<Seconds>{24 * anHour, 25 * anHour}));
}

TEST(DayUsage, BeginsADayWhereClocksLeaveMidnightOut) {
    // In São Paulo clocks went from 00:00 to 01:00 on 2018-11-04; it is noon on that day and the
    // next.
    const Localizer saoPaulo("en_US", "America/Sao_Paulo", {});
    const Timestamp thatNoon{563032800};
    for (const int after : {0, 1}) {
        const auto now = thatNoon + after * aDay;
        const auto days = dayLengths(3 + after, now, saoPaulo);
        ASSERT_EQ(days.size(), 3U + static_cast<unsigned>(after));
        EXPECT_EQ(days[0], 24 * anHour);
        EXPECT_EQ(days[1], 24 * anHour);
        EXPECT_EQ(days[2], 23 * anHour);
        EXPECT_EQ(days.back(), (after == 0 ? 23 : 24) * anHour);
    }
}

TEST(DayUsage, BeginsADayWhereMidnightComesTwice) {
    // In Havana clocks went from 01:00 to 00:00 on 2024-11-03; it is 12:00 there on that day.
    const Localizer havana("en_US", "America/Havana", {});
    EXPECT_EQ(dayLengths(3, {752346000}, havana),
              (std::vector<Seconds>{24 * anHour, 24 * anHour, 25 * anHour}));
}

TEST(DayUsage, CountsOnlyDaysThatThereWere) {
    // Samoa went from 2011-12-29 to 2011-12-31; it is noon on 2012-01-01.
    const Localizer apia("en_US", "Pacific/Apia", {});
    const Timestamp thatNoon{347061600};
    EXPECT_EQ(dayLengths(4, thatNoon, apia), std::vector<Seconds>(4, 24 * anHour));
    const auto days = DayUsage::days({}, 3, thatNoon, apia);
    ASSERT_EQ(days.size(), 3U);
    EXPECT_EQ(apia.dayTitle(days[0].day, thatNoon), "Thursday, Dec 29");
    EXPECT_EQ(apia.dayTitle(days[1].day, thatNoon), "Yesterday");
}

TEST(DayUsage, LeavesOutDaysForWhichTheCalendarGivesNoDate) {
    // Some days after the first moment that it reaches, 5.7 million years ago.
    const Timestamp now = Timestamp{-1.8e14} - secondsFromUnixEpoch + 3.5 * aDay;
    const auto days = DayUsage::days({}, 100, now, utc());
    EXPECT_GE(days.size(), 3U);
    EXPECT_LE(days.size(), 4U);
    EXPECT_EQ(days.back().day, *utc().startOfDay(now));
}

} // namespace
} // namespace velmoran
