#include "app/contents/AwayReportContent.h"

#include "app/contents/Reports.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using testing::eventAt;
using testing::hour;
using ::testing::IsEmpty;
using testing::midnight;
using testing::reportOf;

constexpr Seconds minute = 60;
const Timestamp ten{midnight.seconds + 10 * hour};
constexpr const char* ownReturnNote =
    "What happened in the last seconds before you unlocked is probably you. It is listed, but "
    "doesn't count as something that happened.";
constexpr const char* sleepNote = "Velmoran can't notice anything while the Mac is asleep.";

/// Which space stands in a time depends on the formats' edition.
std::string at(Timestamp time) {
    return words().shortTime(time);
}

std::vector<std::string> spokenRows(const AwayReportContent& content) {
    std::vector<std::string> rows;
    for (const auto& row : content.rows) {
        rows.push_back(rowText(row).spoken());
    }
    return rows;
}

TEST(AwayReportContent, SaysWhatHappenedFromWhenToWhen) {
    const auto content = AwayReportContent::of(
        reportOf({eventAt(ten + minute),
                  eventAt(ten + 2 * minute, AwayEventKind::devicePluggedIn, "Ultra")}));
    EXPECT_EQ(content.heading, "While you were away");
    EXPECT_EQ(content.when,
              "Away watch was on from " + at(ten) + " to " + at(ten + 30 * minute) + ".");
    EXPECT_THAT(spokenRows(content),
                ElementsAre(at(ten + minute) + ", Keyboard used",
                            at(ten + 2 * minute) + ", Device plugged in: Ultra"));
    EXPECT_EQ(content.devices, "The camera and microphone were not used.");
    EXPECT_THAT(content.notes, IsEmpty());
}

TEST(AwayReportContent, ListsTheOwnReturnWithATagAndANote) {
    const auto content = AwayReportContent::of(
        reportOf({eventAt(ten + minute)}, {eventAt(ten + 20 * minute, AwayEventKind::lidOpened)}));
    EXPECT_THAT(spokenRows(content),
                ElementsAre(at(ten + minute) + ", Keyboard used",
                            at(ten + 20 * minute) + ", Lid opened, just before you unlocked"));
    EXPECT_FALSE(content.rows[0].justBeforeUnlock);
    EXPECT_TRUE(content.rows[1].justBeforeUnlock);
    EXPECT_THAT(content.notes, ElementsAre(ownReturnNote));
}

TEST(AwayReportContent, SortsAllRowsByTheirTimes) {
    const auto content = AwayReportContent::of(
        reportOf({eventAt(ten + 3 * minute), eventAt(ten + minute, AwayEventKind::wokeUp)},
                 {eventAt(ten + 2 * minute, AwayEventKind::mouseUsed)}));
    EXPECT_THAT(
        spokenRows(content),
        ElementsAre(at(ten + minute) + ", Mac woke up",
                    at(ten + 2 * minute) + ", Mouse or trackpad used, just before you unlocked",
                    at(ten + 3 * minute) + ", Keyboard used"));
}

TEST(AwayReportContent, ShowsAnEventBeforeAnOwnReturnOfTheSameTime) {
    const auto own = eventAt(ten + minute, AwayEventKind::lidOpened);
    const auto event = eventAt(ten + minute, AwayEventKind::lidClosed);
    const auto content = AwayReportContent::of(reportOf({event}, {own}));
    ASSERT_EQ(content.rows.size(), 2U);
    EXPECT_EQ(content.rows[0].event, event);
    EXPECT_EQ(content.rows[1].event, own);
}

TEST(AwayReportContent, DoesNotDenyAUseOfTheCameraOrMicrophone) {
    for (const auto kind : {AwayEventKind::cameraUsed, AwayEventKind::microphoneUsed}) {
        const auto content = AwayReportContent::of(reportOf({eventAt(ten, kind, "Zoom")}));
        EXPECT_EQ(content.devices, "");
    }
}

TEST(AwayReportContent, HasTheNoteOnSleepInBothForms) {
    auto report = reportOf({eventAt(ten)}, {eventAt(ten + minute)});
    report.slept = true;
    EXPECT_THAT(AwayReportContent::of(report).notes, ElementsAre(ownReturnNote, sleepNote));
    report.events.clear();
    EXPECT_THAT(AwayReportContent::of(report).notes, ElementsAre(ownReturnNote, sleepNote));
    report.ownReturn.clear();
    EXPECT_THAT(AwayReportContent::of(report).notes, ElementsAre(sleepNote));
}

TEST(AwayReportContent, SaysOfARunningReportThatNothingHappenedUntilNow) {
    auto report = reportOf({}, {});
    report.end.reset();
    const auto content = AwayReportContent::of(report);
    EXPECT_EQ(content.heading, "Nothing happened while you were away");
    EXPECT_EQ(content.when, at(ten) + " to now");
    EXPECT_EQ(content.devices, "");
    EXPECT_THAT(content.notes, IsEmpty());
}

TEST(AwayReportContent, ShowsNoRowsWhereOnlyTheOwnReturnIsLeft) {
    const auto content = AwayReportContent::of(reportOf({}, {eventAt(ten + minute)}));
    EXPECT_EQ(content.when, at(ten) + " to " + at(ten + 30 * minute));
    EXPECT_THAT(content.rows, IsEmpty());
    EXPECT_THAT(content.notes, ElementsAre(ownReturnNote));
}

TEST(AwayReportContent, SpeaksGermanAndOfAComputer) {
    setWords(Localizer("de_DE", "UTC", catalogues("de", Platform::linux)));
    auto report = reportOf({eventAt(ten + minute)}, {eventAt(ten + 2 * minute)});
    report.slept = true;
    const auto content = AwayReportContent::of(report);
    const auto rows = spokenRows(content);
    setWords(Localizer());
    EXPECT_EQ(content.when, "Die Abwesenheitswache war von 10:00 bis 10:30 an.");
    EXPECT_THAT(rows, ElementsAre("10:01, Tastatur verwendet",
                                  "10:02, Tastatur verwendet, kurz vor dem Entsperren"));
    EXPECT_EQ(content.notes.back(), "Solange der Computer schläft, kann Velmoran nichts bemerken.");
}

} // namespace
} // namespace velmoran
