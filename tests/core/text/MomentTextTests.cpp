#include "core/text/MomentText.h"

#include "core/text/Localizer.h"

#include <gtest/gtest.h>
#include <limits>
#include <rapidcheck/gtest.h>
#include <string>

namespace velmoran {
namespace {

/// In Berlin; afterwards the words are what they were.
class MomentText : public testing::Test {
protected:
    MomentText() { setWords(Localizer("en_US", "Europe/Berlin", {})); }
    ~MomentText() override { setWords(Localizer()); }
    MomentText(const MomentText&) = delete;
    MomentText& operator=(const MomentText&) = delete;

    /// Written again, in Berlin; the text itself where it is none.
    static std::string read(const std::string& text, Timestamp now = sunday) {
        const auto moment = momentFrom(text, now);
        return moment ? isoTime(*moment, Precision::milliseconds) : "none";
    }

    /// Sunday, 22 November 2026, 16:30:05.25 in Berlin.
    static constexpr Timestamp sunday{817054205.25};
};

TEST_F(MomentText, WritesATimeWithItsZone) {
    EXPECT_EQ(isoTime(sunday), "2026-11-22T16:30:05+01:00");
    EXPECT_EQ(isoTime(sunday, Precision::milliseconds), "2026-11-22T16:30:05.250+01:00");
    EXPECT_EQ(wallTime(sunday), "2026-11-22 16:30:05");
    EXPECT_EQ(isoTime({0}), "2001-01-01T01:00:00+01:00");
    EXPECT_EQ(isoTime({-0.001}, Precision::milliseconds), "2001-01-01T00:59:59.999+01:00");
    EXPECT_EQ(isoTime({-978307200.5}), "1970-01-01T00:59:59+01:00");
    EXPECT_EQ(isoTime({204937200}), "2007-07-01T01:00:00+02:00");
    setWords(Localizer("en_US", "America/St_Johns", {}));
    EXPECT_EQ(isoTime({0}), "2000-12-31T20:30:00-03:30");
}

TEST_F(MomentText, WritesNothingThatIsNoTimeOfACalendar) {
    for (const double seconds :
         {1e12, -1e12, 1e300, -1e300, std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(isoTime({seconds}), "") << seconds;
        EXPECT_EQ(wallTime({seconds}), "") << seconds;
    }
}

TEST_F(MomentText, ReadsDates) {
    EXPECT_EQ(read("2026-11-22"), "2026-11-22T00:00:00.000+01:00");
    EXPECT_EQ(read("2026-07-01"), "2026-07-01T00:00:00.000+02:00");
    EXPECT_EQ(read("2024-02-29"), "2024-02-29T00:00:00.000+01:00");
    for (const auto* none :
         {"2026-02-29", "2026-13-01", "2026-00-01", "2026-01-00", "2026-04-31", "0000-01-01",
          "2026-1-1", "26-01-01", "2026/01/01", "20260101", "2026-11-22 ", " 2026-11-22",
          "2026-11-22x", "2026-11", "-2026-11-22"}) {
        EXPECT_EQ(read(none), "none") << none;
    }
}

TEST_F(MomentText, ReadsTimes) {
    EXPECT_EQ(read("2026-11-22T10:00"), "2026-11-22T10:00:00.000+01:00");
    EXPECT_EQ(read("2026-11-22 10:00:07"), "2026-11-22T10:00:07.000+01:00");
    EXPECT_EQ(read("2026-11-22t23:59:59.5"), "2026-11-22T23:59:59.500+01:00");
    EXPECT_EQ(read("10:00"), "2026-11-22T10:00:00.000+01:00");
    EXPECT_EQ(read("23:59:59"), "2026-11-22T23:59:59.000+01:00");
    for (const auto* none : {"2026-11-22T", "2026-11-22T10", "2026-11-22T24:00", "2026-11-22T10:60",
                             "2026-11-22T10:00:60", "2026-11-22T10:00:00.", "2026-11-22T1:00",
                             "2026-11-22_10:00", "24:00", "10:0", "10", ":", "10:00Z"}) {
        EXPECT_EQ(read(none), "none") << none;
    }
}

TEST_F(MomentText, ReadsZones) {
    for (const auto* text : {"2026-11-22T10:00Z", "2026-11-22T10:00:00z", "2026-11-22T11:00+01:00",
                             "2026-11-22T12:00+0200", "2026-11-22T12:00+02",
                             "2026-11-22T06:30-03:30", "2026-11-22T10:00-00:00"}) {
        EXPECT_EQ(read(text), "2026-11-22T11:00:00.000+01:00") << text;
    }
    for (const auto* none : {"2026-11-22T10:00+", "2026-11-22T10:00+1", "2026-11-22T10:00+24:00",
                             "2026-11-22T10:00+01:60", "2026-11-22T10:00+01:", "2026-11-22T10:00ZZ",
                             "2026-11-22T10:00 CET", "2026-11-22Z"}) {
        EXPECT_EQ(read(none), "none") << none;
    }
}

TEST_F(MomentText, ReadsWordsAndSpans) {
    EXPECT_EQ(read("now"), "2026-11-22T16:30:05.250+01:00");
    EXPECT_EQ(read("today"), "2026-11-22T00:00:00.000+01:00");
    EXPECT_EQ(read("yesterday"), "2026-11-21T00:00:00.000+01:00");
    EXPECT_EQ(read("90s"), "2026-11-22T16:28:35.250+01:00");
    EXPECT_EQ(read("30m"), "2026-11-22T16:00:05.250+01:00");
    EXPECT_EQ(read("2h"), "2026-11-22T14:30:05.250+01:00");
    EXPECT_EQ(read("7d"), "2026-11-15T16:30:05.250+01:00");
    EXPECT_EQ(read("2w"), "2026-11-08T16:30:05.250+01:00");
    EXPECT_EQ(read("0d"), "2026-11-22T16:30:05.250+01:00");
    for (const auto* none : {"", "d", "7", "7y", "7D", "-7d", "+7d", "7 d", "1.5h", "7dd", "7d ",
                             "1234567890d", "99999999999999999999h", "TODAY", "tomorrow"}) {
        EXPECT_EQ(read(none), "none") << none;
    }
}

TEST_F(MomentText, CountsDaysAsTheCalendarDoes) {
    // Clocks were set back on 25 October.
    EXPECT_EQ(read("30d"), "2026-10-23T16:30:05.250+02:00");
    EXPECT_EQ(read("720h"), "2026-10-23T17:30:05.250+02:00");
    // Yesterday had 25 hours, and half past two twice.
    const Timestamp monday{814701600}; // 26 October, 11:00
    EXPECT_EQ(read("yesterday", monday), "2026-10-25T00:00:00.000+02:00");
    EXPECT_EQ(read("2026-10-25T02:30"), "2026-10-25T02:30:00.000+02:00");
    EXPECT_EQ(read("2026-10-25T03:00"), "2026-10-25T03:00:00.000+01:00");
    // There was no half past two on 29 March.
    EXPECT_EQ(read("2026-03-29T02:30"), "2026-03-29T03:30:00.000+02:00");
    EXPECT_EQ(read("2026-03-29T01:59:59"), "2026-03-29T01:59:59.000+01:00");
    EXPECT_EQ(read("2026-03-29T03:00"), "2026-03-29T03:00:00.000+02:00");
}

TEST_F(MomentText, KnowsADayThatDoesNotBeginAtMidnight) {
    setWords(Localizer("en_US", "America/Santiago", {}));
    EXPECT_EQ(read("2026-09-06"), "2026-09-06T01:00:00.000-03:00");
    EXPECT_EQ(read("2026-09-05"), "2026-09-05T00:00:00.000-04:00");
}

RC_GTEST_PROP(MomentTextLaw, ReadsWhatItHasWritten, ()) {
    const std::string zone = *rc::gen::element<std::string>(
        "UTC", "Europe/Berlin", "Asia/Kathmandu", "America/New_York", "Pacific/Apia");
    setWords(Localizer("en_US", zone, {}));
    const auto milliseconds = *rc::gen::inRange<std::int64_t>(-900'000'000'000, 3'000'000'000'000);
    const Timestamp moment{static_cast<double>(milliseconds) / 1000};
    const auto read = momentFrom(isoTime(moment, Precision::milliseconds), {});
    setWords(Localizer());
    RC_ASSERT(read.has_value());
    RC_ASSERT(std::abs(*read - moment) < 0.0005);
}

} // namespace
} // namespace velmoran
