#include "app/contents/HistoryContent.h"
#include "app/contents/Sessions.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

/// Wednesday, a quarter past ten.
const Timestamp historyNow = midnight + 10.25 * hour;

HistoryContent contentOf(const SessionList& sessions, const HistoryFilter& filter) {
    return HistoryContent::of(sessions, filter, historyNow, Localizer());
}

std::vector<std::string> titlesOf(const HistoryContent& content) {
    std::vector<std::string> titles;
    for (const auto& section : content.sections) {
        titles.push_back(section.title);
    }
    return titles;
}

ActivityRow historyRowOf(UsageSession session) {
    return Activity::rows({shared(std::move(session))}).at(0);
}

TEST(HistoryRange, NamesItselfInWords) {
    EXPECT_EQ(labelOf(HistoryRange::today), "Today");
    EXPECT_EQ(labelOf(HistoryRange::week), "Last 7 days");
    EXPECT_EQ(labelOf(HistoryRange::month), "Last 30 days");
    EXPECT_EQ(labelOf(HistoryRange::all), "All");
}

TEST(HistoryRange, BeginsAtAMidnightAndEndsNow) {
    const Localizer utc;
    EXPECT_EQ(intervalOf(HistoryRange::today, historyNow, utc), (Interval{midnight, historyNow}));
    EXPECT_EQ(intervalOf(HistoryRange::week, historyNow, utc),
              (Interval{midnight - 6 * day, historyNow}));
    EXPECT_EQ(intervalOf(HistoryRange::month, historyNow, utc),
              (Interval{midnight - 29 * day, historyNow}));
    EXPECT_EQ(intervalOf(HistoryRange::all, historyNow, utc), std::nullopt);
}

TEST(HistoryRange, CountsDaysAsLongAsTheyReallyAre) {
    // The clocks of Berlin go forward on 29 March 2026: a week with an hour less.
    const Localizer berlin("de_DE", "Europe/Berlin", {});
    const auto monday = midnight + 26 * day - 2 * hour; // 30 March, 00:00 there
    const auto interval = intervalOf(HistoryRange::week, monday + 9 * hour, berlin);
    EXPECT_EQ(interval, (Interval{monday - 6 * day + hour, monday + 9 * hour}));
}

TEST(HistoryRange, BeginsWithADayAlsoWhereClocksChangeAtMidnight) {
    // Santiago's clocks go forward on 6 September 2026 at 00:00: that day begins at 01:00.
    const Localizer santiago("es_CL", "America/Santiago", {});
    const auto sunday = midnight + 186 * day + 4 * hour;
    EXPECT_EQ(intervalOf(HistoryRange::week, sunday + 6 * day + 8 * hour, santiago)->start, sunday);
    // The days before it begin at 00:00 all the same.
    EXPECT_EQ(intervalOf(HistoryRange::week, sunday + hour, santiago)->start, sunday - 6 * day);
}

TEST(HistoryContent, HasTodaysUsesThatBeganBeforeMidnightAndAreStillOn) {
    const auto content =
        contentOf({shared(sessionOf("Night", Device::camera, midnight - 600)),
                   shared(sessionOf("Past", Device::camera, midnight - 600, midnight - 60))},
                  {.range = HistoryRange::today});
    ASSERT_THAT(content.rows, SizeIs(1));
    EXPECT_EQ(content.rows[0].app().name, "Night");
    EXPECT_THAT(titlesOf(content), ElementsAre("Yesterday"));
    EXPECT_EQ(rowText(content.rows[0], historyNow),
              (HistoryRowText{.time = words().shortTime(midnight - 600),
                              .app = "Night",
                              .devices = "camera",
                              .trailing = "Still on"}));
}

TEST(HistoryContent, FindsTheUseOfAnAppThatEndedInThePeriodThoughItBeganBefore) {
    const auto before = midnight - 6 * day - hour;
    const SessionList sessions = {
        shared(sessionOf("Other", Device::camera, historyNow - 60, historyNow - 30)),
        shared(sessionOf("Long", Device::camera, before, before + 2 * hour)),
        shared(sessionOf("Long", Device::camera, before - day, before)),
    };
    const auto content = contentOf(sessions, {.appID = appNamed("Long").id});
    ASSERT_THAT(content.rows, SizeIs(1));
    EXPECT_EQ(content.rows[0].start(), before);
}

TEST(HistoryContent, IsEmptyWhereNothingMatches) {
    const auto content =
        contentOf({shared(sessionOf("App", Device::camera, historyNow - 60, historyNow - 30))},
                  {.device = Device::speaker});
    EXPECT_THAT(content.rows, IsEmpty());
    EXPECT_THAT(content.sections, IsEmpty());
}

TEST(HistoryContent, PutsRowsUnderTheDayOnWhichTheyBegan) {
    const auto content = contentOf(
        {
            shared(sessionOf("A", Device::camera, midnight + 9 * hour, historyNow)),
            shared(sessionOf("B", Device::camera, midnight, midnight + 5)),
            shared(sessionOf("C", Device::camera, midnight - 1, midnight + 5)),
            shared(sessionOf("D", Device::camera, midnight - 40 * day, midnight - 39 * day)),
        },
        {.range = HistoryRange::all});
    EXPECT_THAT(content.sections,
                ElementsAre(HistorySection{"Today", 0, 2}, HistorySection{"Yesterday", 2, 1},
                            HistorySection{"Friday, Jan 23", 3, 1}));
}

TEST(HistoryContent, KeepsTheLongDayOfAChangeOfClocksWhole) {
    // 25 October 2026 has 25 hours in Berlin, and begins at 22:00 UTC.
    const Localizer berlin("en_US", "Europe/Berlin", {});
    const auto sunday = midnight + 235 * day - 2 * hour;
    const auto content = HistoryContent::of(
        {
            shared(sessionOf("Next", Device::camera, sunday + 25 * hour, sunday + 25.5 * hour)),
            shared(sessionOf("Last", Device::camera, sunday + 24.9 * hour, sunday + 25 * hour)),
            shared(sessionOf("First", Device::camera, sunday, sunday + hour)),
            shared(sessionOf("Before", Device::camera, sunday - 1, sunday)),
        },
        {.range = HistoryRange::all}, sunday + 30 * day, berlin);
    EXPECT_THAT(titlesOf(content),
                ElementsAre("Monday, Oct 26", "Sunday, Oct 25", "Saturday, Oct 24"));
    EXPECT_EQ(content.sections[1].count, 2U);
}

TEST(HistoryContent, NamesDevicesAsAList) {
    auto microphone = sessionOf("Call", Device::microphone, historyNow - 300, historyNow - 60);
    auto camera = sessionOf("Call", Device::camera, historyNow - 298, historyNow - 70);
    const auto rows = Activity::rows({shared(camera), shared(microphone)});
    ASSERT_THAT(rows, SizeIs(1));
    EXPECT_EQ(rowText(rows[0], historyNow).devices, "camera and mic");
    EXPECT_EQ(
        rowText(historyRowOf(sessionOf("App", Device::speaker, historyNow)), historyNow).devices,
        "speaker");
    EXPECT_EQ(rowText(rows[0], historyNow).trailing, "4 min");
}

TEST(HistoryContent, SaysThatAnEndIsNotKnown) {
    auto session = sessionOf("App", Device::camera, historyNow - 300);
    session.outcome = SessionOutcome::endUnknown;
    EXPECT_EQ(rowText(historyRowOf(session), historyNow).trailing, "End not known");
}

TEST(HistoryContent, SaysOfAStoppedRowThatItWasStoppedRatherThanTrusted) {
    auto session = sessionOf("App", Device::camera, historyNow - 300, historyNow);
    EXPECT_EQ(rowText(historyRowOf(session), historyNow).label, "");
    session.warningLevel = WarningLevel::quiet;
    EXPECT_EQ(rowText(historyRowOf(session), historyNow).label, "Trusted");
    session.outcome = SessionOutcome::stoppedByUser;
    EXPECT_EQ(rowText(historyRowOf(session), historyNow).label, "Stopped");
    session.outcome = SessionOutcome::endedNormally;
    for (const auto level : {WarningLevel::standard, WarningLevel::strong}) {
        session.warningLevel = level;
        EXPECT_EQ(rowText(historyRowOf(session), historyNow).label, "Warned");
    }
}

TEST(HistoryContent, ReadsARowAloudWithoutWhatItDoesNotSay) {
    const HistoryRowText text{
        .time = "10:15 AM", .app = "Call", .devices = "camera", .trailing = "4 min"};
    EXPECT_EQ(text.spoken(), "10:15 AM, Call, camera, 4 min");
}

TEST(HistoryContent, OffersEachAppOnceInTheOrderOfItsLastUse) {
    auto renamed = sessionOf("A", Device::camera, historyNow - 3 * day, historyNow - 2 * day);
    renamed.app.name = "Former name";
    EXPECT_THAT(
        appChoices({shared(sessionOf("A", Device::camera, historyNow - 60)),
                    shared(sessionOf("B", Device::speaker, historyNow - day, historyNow)),
                    shared(renamed)}),
        ElementsAre(AppChoiceEntry{"org.example.A", "A"}, AppChoiceEntry{"org.example.B", "B"}));
    EXPECT_THAT(appChoices({}), IsEmpty());
}

TEST(HistoryContent, SaysInItsFooterWhatIsKeptAndWhatIsLeftOut) {
    EXPECT_EQ(historyFooter(90, false, false), "Stored only on this Mac. Kept for 90 days.");
    EXPECT_EQ(historyFooter(30, true, true),
              "Stored only on this Mac. Kept for 30 days. System sounds are hidden. macOS's own "
              "listening is ignored.");
}

} // namespace
} // namespace velmoran
