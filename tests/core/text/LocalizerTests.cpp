#include "core/text/Localizer.h"
#include "core/text/ZoneSource.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <rapidcheck/gtest.h>
#include <string>
#include <thread>
#include <unicode/gregocal.h>
#include <utility>
#include <vector>

namespace velmoran {
namespace {

/// Wednesday, 4 March 2026, 09:30 UTC.
constexpr Timestamp wednesday{794309400};
constexpr Seconds hour = 3600;

Localizer german() {
    return Localizer("de_DE", "Europe/Berlin",
                     {{{"Today", "Heute"},
                       {"Yesterday", "Gestern"},
                       {"%@ turned on %@", "%2$@ wurde von %1$@ eingeschaltet"}}});
}

TEST(Localizer, GivesTheKeyWhereNoCatalogueHasIt) {
    EXPECT_EQ(Localizer().text("Just now"), "Just now");
    EXPECT_EQ(german().text("Just now"), "Just now");
    EXPECT_EQ(german().text("Today"), "Heute");
}

TEST(Localizer, LetsALaterCatalogueOverlayAnEarlierOne) {
    const Localizer overlaid(
        "en_US", "UTC", {{{"a", "first"}, {"b", "first"}}, {{"b", "second"}, {"c", "second"}}});
    EXPECT_EQ(overlaid.text("a"), "first");
    EXPECT_EQ(overlaid.text("b"), "second");
    EXPECT_EQ(overlaid.text("c"), "second");
}

TEST(Localizer, FillsHolesInOrderAndByPosition) {
    EXPECT_EQ(Localizer().text("%@ turned on %@", {"Zoom", "the camera"}),
              "Zoom turned on the camera");
    EXPECT_EQ(german().text("%@ turned on %@", {"Zoom", "die Kamera"}),
              "die Kamera wurde von Zoom eingeschaltet");
    EXPECT_EQ(Localizer().text("%lld h %@ min", {"1", "05"}), "1 h 05 min");
    EXPECT_EQ(Localizer().text("%2$lld of %1$lld", {"9", "4"}), "4 of 9");
    EXPECT_EQ(Localizer().text("%1$@ and %1$@", {"a"}), "a and a");
    EXPECT_EQ(Localizer().text("%12$@", std::vector<std::string>(12, "x")), "x");
}

TEST(Localizer, LeavesAHoleWithoutAnArgumentEmpty) {
    EXPECT_EQ(Localizer().text("<%@><%@><%3$@>", {"a"}), "<a><><>");
    EXPECT_EQ(Localizer().text("%99999999999999999999$@", {"a"}), "%99999999999999999999$@");
}

TEST(Localizer, LeavesPercentSignsThatAreNoHoleAlone) {
    EXPECT_EQ(Localizer().text("%% %", {}), "% %");
    EXPECT_EQ(Localizer().text("100%%", {}), "100%");
    EXPECT_EQ(Localizer().text("%d %0$@ %ll %1$ %", {"a"}), "%d %0$@ %ll %1$ %");
    EXPECT_EQ(Localizer().text("%@", {"50%@ %% %1$@"}), "50%@ %% %1$@");
}

RC_GTEST_PROP(Localizer, NeverReadsTheArguments, (const std::vector<std::string>& arguments)) {
    std::string key;
    std::string expected;
    for (const auto& argument : arguments) {
        key += "%@|";
        expected += argument + "|";
    }
    RC_ASSERT(Localizer().text(key, arguments) == expected);
}

TEST(Localizer, JoinsListsInTheWayOfTheLocale) {
    EXPECT_EQ(Localizer().list({}), "");
    EXPECT_EQ(Localizer().list({"A"}), "A");
    EXPECT_EQ(Localizer().list({"A", "B"}), "A and B");
    EXPECT_EQ(Localizer().list({"A", "B", "C"}), "A, B, and C");
    EXPECT_EQ(german().list({"Ä", "B", "C"}), "Ä, B und C");
}

TEST(Localizer, WritesShortTimesWithoutTheDate) {
    // Releases of the language data differ in the blank before "AM".
    const auto english = Localizer().shortTime(wednesday);
    EXPECT_TRUE(english.starts_with("9:30") && english.ends_with("AM")) << english;
    EXPECT_EQ(german().shortTime(wednesday), "10:30");
    EXPECT_EQ(german().shortTime(wednesday + 12 * hour), "22:30");
}

TEST(Localizer, TellsTheTimeByTheClockOfARegionWhereItsLanguageIsNotAtHome) {
    const auto evening = wednesday + 12 * hour;
    const auto abroad = Localizer("de_US", "UTC", {}).shortTime(evening);
    EXPECT_TRUE(abroad.starts_with("9:30") && abroad.ends_with("PM")) << abroad;
    EXPECT_EQ(Localizer("en_FR", "UTC", {}).shortTime(evening), "21:30");
    EXPECT_EQ(Localizer("de_GB", "UTC", {}).shortTime(evening), "21:30");
    // Where there is such a form, it is that.
    EXPECT_EQ(Localizer("en_DE", "UTC", {}).shortTime(evening), "21:30");
    EXPECT_EQ(Localizer("de_AT", "UTC", {}).shortTime(evening), "21:30");
    EXPECT_EQ(Localizer("de", "UTC", {}).shortTime(evening), "21:30");
}

TEST(Localizer, TitlesTodayAndYesterdayByTheCalendarOfItsZone) {
    const Localizer english;
    EXPECT_EQ(english.dayTitle(wednesday, wednesday), "Today");
    EXPECT_EQ(english.dayTitle(wednesday - 9.5 * hour, wednesday), "Today");
    EXPECT_EQ(english.dayTitle(wednesday - 9.5 * hour - 1, wednesday), "Yesterday");
    EXPECT_EQ(english.dayTitle(wednesday - 33.5 * hour, wednesday), "Yesterday");
    EXPECT_EQ(english.dayTitle(wednesday - 33.5 * hour - 1, wednesday), "Monday, Mar 2");
    EXPECT_EQ(german().dayTitle(wednesday - 10 * hour, wednesday), "Heute");
    EXPECT_EQ(german().dayTitle(wednesday - 11 * hour, wednesday), "Gestern");
}

TEST(Localizer, TitlesOtherDaysInTheOrderOfTheLocale) {
    EXPECT_EQ(Localizer().dayTitle(wednesday, wednesday + 48 * hour), "Wednesday, Mar 4");
    EXPECT_EQ(Localizer().dayTitle(wednesday, wednesday - 24 * hour), "Wednesday, Mar 4");
    EXPECT_EQ(german().dayTitle(wednesday, wednesday + 48 * hour), "Mittwoch, 4. März");
}

TEST(Localizer, NamesDaysShortlyInTheWayOfTheLocale) {
    EXPECT_EQ(Localizer().shortWeekday(wednesday), "Wed");
    EXPECT_EQ(Localizer().dayAndMonth(wednesday), "Mar 4");
    EXPECT_EQ(german().shortWeekday(wednesday), "Mi");
    EXPECT_EQ(german().dayAndMonth(wednesday), "4. März");
    // Half an hour before midnight in London it is Thursday in Berlin.
    EXPECT_EQ(german().shortWeekday(wednesday + 14 * hour), "Do");
}

TEST(Localizer, TitlesYesterdayOverAChangeOfClocks) {
    // Sunday, 29 March 2026 has 23 hours in Berlin, Sunday, 25 October has 25.
    constexpr Timestamp spring{796478400}; // Sunday noon, UTC
    EXPECT_EQ(german().dayTitle(spring - 13.5 * hour, spring), "Gestern");
    EXPECT_EQ(german().dayTitle(spring - 12.5 * hour, spring), "Heute");
    constexpr Timestamp autumn{814622400}; // Sunday noon, UTC
    EXPECT_EQ(german().dayTitle(autumn - 13.5 * hour, autumn), "Heute");
    EXPECT_EQ(german().dayTitle(autumn - 14.5 * hour, autumn), "Gestern");
}

TEST(Localizer, KnowsTheNamesOfTimeZones) {
    for (const auto* name : {"UTC", "Europe/Berlin", "America/Argentina/Buenos_Aires", "CET"}) {
        EXPECT_TRUE(isTimeZone(name)) << name;
    }
    for (const auto* name : {"", "Europe/Berlim", "Europe", "Berlin", "Etc/Unknown", "\xFF"}) {
        EXPECT_FALSE(isTimeZone(name)) << name;
        EXPECT_EQ(Localizer("de_DE", name, {}).shortTime(wednesday), "09:30") << name;
    }
}

TEST(Localizer, KnowsHowLongADayReallyIs) {
    const auto berlin = german();
    const auto lengthOfDay = [&](Timestamp time) {
        const auto start = *berlin.startOfDay(time);
        return *berlin.addingDays(start, 1) - start;
    };
    EXPECT_EQ(lengthOfDay(wednesday), 24 * hour);
    EXPECT_EQ(lengthOfDay({796478400}), 23 * hour);
    EXPECT_EQ(lengthOfDay({814622400}), 25 * hour);
}

TEST(Localizer, BeginsADayAtItsFirstMomentWhereMidnightIsSkippedOrRepeated) {
    // São Paulo went from 00:00 to 01:00 on 4 November 2018, at 03:00 UTC.
    const Localizer saoPaulo("en_US", "America/Sao_Paulo", {});
    EXPECT_EQ(saoPaulo.startOfDay({563036400}), (Timestamp{562993200}));
    EXPECT_EQ(saoPaulo.dayTitle({562993200}, {563122800}), "Yesterday");
    EXPECT_EQ(saoPaulo.dayTitle({562910400}, {563036400}), "Yesterday");
    // Havana goes from 01:00 back to 00:00 on 2 November 2025: the first of both midnights.
    const Localizer havana("en_US", "America/Havana", {});
    EXPECT_EQ(havana.startOfDay({783795600}), (Timestamp{783748800}));
}

TEST(Localizer, CountsDaysBackByTheCalendar) {
    EXPECT_EQ(Localizer().daysBefore(wednesday, 30), wednesday - 30 * 24 * hour);
    EXPECT_EQ(Localizer().daysBefore(wednesday, 0), wednesday);
    // Over the short day of March: an hour less by the clock on the wall.
    constexpr Timestamp monday{796564800};
    EXPECT_EQ(german().daysBefore(monday, 2), monday - 47 * hour);
}

RC_GTEST_PROP(Localizer, AddsDaysAsACalendarDoes, ()) {
    const auto zone = *rc::gen::element<std::string>(
        "UTC", "Europe/Berlin", "America/Sao_Paulo", "America/Havana", "Australia/Lord_Howe",
        "Pacific/Apia", "Asia/Kathmandu", "Africa/Casablanca");
    // To the minute, near a change of clocks as often as elsewhere: 1970 to 2040.
    const auto minute = *rc::gen::inRange(0, 70 * 365 * 24 * 60);
    const auto days = *rc::gen::inRange(-400, 400);
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)), status);
    calendar.setTime(minute * 60'000.0, status);
    calendar.add(UCAL_DAY_OF_MONTH, days, status);
    const auto expected = calendar.getTime(status) / 1000 - secondsFromUnixEpoch;
    RC_ASSERT(U_SUCCESS(status) != 0);

    const Timestamp time{minute * 60.0 - secondsFromUnixEpoch};
    RC_ASSERT(Localizer("en_US", zone, {}).addingDays(time, days) == Timestamp{expected});
}

TEST(Localizer, AddsDaysAsACalendarDoesAtEveryMinuteAroundAChangeOfClocks) {
    // The zone and a moment within a day of a change, in seconds from 1970: forward and back by an
    // hour, at midnight, by half an hour, and by a whole day that never was.
    const std::vector<std::pair<std::string, double>> changes = {
        {"Europe/Berlin", 1774746000},       {"Europe/Berlin", 1792890000},
        {"America/Sao_Paulo", 1541300400},   {"America/Sao_Paulo", 1550368800},
        {"Australia/Lord_Howe", 1791043200}, {"Pacific/Apia", 1325239200},
    };
    for (const auto& [zone, change] : changes) {
        const Localizer localizer("en_US", zone, {});
        UErrorCode status = U_ZERO_ERROR;
        icu::GregorianCalendar calendar(
            icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)), status);
        for (int minute = -1500; minute <= 1500; ++minute) {
            for (const int days : {-1, 1, 3}) {
                const auto from = change + minute * 60.0 - days * 86400.0;
                calendar.setTime(from * 1000, status);
                calendar.add(UCAL_DAY_OF_MONTH, days, status);
                const Timestamp expected{calendar.getTime(status) / 1000 - secondsFromUnixEpoch};
                ASSERT_EQ(localizer.addingDays({from - secondsFromUnixEpoch}, days), expected)
                    << zone << ' ' << minute << ' ' << days;
            }
        }
    }
}

TEST(Localizer, StaysWhereItIsWhenTheCalendarGivesNoDate) {
    for (const double odd : {1e300, -1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(Localizer().daysBefore({odd}, 30), Timestamp{odd});
        EXPECT_EQ(Localizer().startOfDay({odd}), std::nullopt);
    }
    EXPECT_EQ(Localizer().startOfDay({std::numeric_limits<double>::quiet_NaN()}), std::nullopt);
}

TEST(Localizer, ComparesWithoutCaseAndByTheLocale) {
    const Localizer english;
    EXPECT_EQ(english.compareIgnoringCase("zoom", "ZOOM"), 0);
    EXPECT_LT(english.compareIgnoringCase("apple", "Banana"), 0);
    EXPECT_GT(english.compareIgnoringCase("banana", "Apple"), 0);
    EXPECT_LT(english.compareIgnoringCase("Ähre", "Zoom"), 0);
    EXPECT_NE(english.compareIgnoringCase("resume", "résumé"), 0);
    EXPECT_GT(Localizer("sv_SE", "UTC", {}).compareIgnoringCase("Ähre", "Zoom"), 0);
    EXPECT_EQ(english.compareIgnoringCase("", ""), 0);
    EXPECT_LT(english.compareIgnoringCase("", "a"), 0);
}

TEST(Localizer, ComparesTextThatIsNotUtf8) {
    EXPECT_EQ(Localizer().compareIgnoringCase("\xff", "\xff"), 0);
    EXPECT_NE(Localizer().compareIgnoringCase("\xff", "a"), 0);
}

RC_GTEST_PROP(Localizer, OrdersNamesWithoutContradiction,
              (const std::string& a, const std::string& b, const std::string& c)) {
    const auto sign = [](const std::string& x, const std::string& y) {
        return words().compareIgnoringCase(x, y);
    };
    RC_ASSERT(sign(a, b) == -sign(b, a));
    RC_ASSERT(!(sign(a, b) <= 0 && sign(b, c) <= 0) || sign(a, c) <= 0);
}

TEST(Localizer, TakesAnUnknownLocaleOrZoneAsTheDefault) {
    for (const auto* locale :
         {"xx_XX", "", "C", "POSIX", "C.UTF-8", "en_US_POSIX", "not a locale"}) {
        const Localizer odd(locale, "Nowhere/Land", {});
        EXPECT_EQ(odd.list({"A", "B", "C"}), "A, B, and C") << locale;
        EXPECT_EQ(odd.shortTime(wednesday), Localizer().shortTime(wednesday)) << locale;
        EXPECT_LT(odd.compareIgnoringCase("apple", "Banana"), 0) << locale;
        EXPECT_EQ(odd.dayTitle(wednesday, wednesday + 48 * hour), "Wednesday, Mar 4") << locale;
    }
    EXPECT_EQ(Localizer("de_DE.UTF-8", "Europe/Berlin", {}).shortTime(wednesday), "10:30");
    EXPECT_EQ(Localizer("de_DE@euro", "Europe/Berlin", {}).list({"A", "B"}), "A und B");
}

TEST(Localizer, SaysTheLanguageOfItsLocale) {
    EXPECT_EQ(Localizer().language(), "en");
    EXPECT_EQ(Localizer("de_AT.UTF-8", "UTC", {}).language(), "de");
    EXPECT_EQ(Localizer("fr", "UTC", {}).language(), "fr");
    EXPECT_EQ(Localizer("C", "UTC", {}).language(), "en");
    EXPECT_EQ(Localizer("nonsense", "UTC", {}).language(), "en");
}

TEST(Localizer, AnswersSeveralThreadsAtOnce) {
    const auto words = german();
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (auto& count : wrong) {
        threads.emplace_back([&words, &count] {
            for (int i = 0; i < 200; ++i) {
                const auto now = wednesday + i * 24 * hour;
                count += words.dayTitle(now, now) != "Heute";
                count += words.shortTime(wednesday) != "10:30";
                count += words.list({"A", "B"}) != "A und B";
                count += words.compareIgnoringCase("a", "B") >= 0;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

TEST(Words, AreEnglishUntilSetAndSpeakTheNewLanguageAtOnce) {
    const auto& held = words();
    EXPECT_EQ(held.text("Today"), "Today");
    setWords(german());
    EXPECT_EQ(held.text("Today"), "Heute");
    EXPECT_EQ(words().text("Today"), "Heute");
    setWords(Localizer());
    EXPECT_EQ(held.text("Today"), "Today");
}

TEST(Localizer, StandsInTheZoneThatItsSourceNames) {
    const Localizer words("de_DE", "UTC", {});
    const Timestamp time{794136600}; // 9:30 of March 2, 2026, in Greenwich
    EXPECT_EQ(words.shortTime(time), "09:30");
    std::string zone = "Asia/Tokyo";
    setZoneSource([&] { return zone; });
    EXPECT_EQ(words.shortTime(time), "18:30");
    EXPECT_EQ(words.startOfDay(time), (Timestamp{794136600 - 18.5 * 3600}));
    const Timestamp evening{time.seconds + 6 * 3600};
    EXPECT_EQ(words.dayTitle(time, evening), "Yesterday");
    zone = "America/New_York";
    EXPECT_EQ(words.shortTime(time), "04:30");
    EXPECT_EQ(words.startOfDay(time), (Timestamp{794136600 - 4.5 * 3600}));
    EXPECT_EQ(words.dayTitle(time, evening), "Today");
    // A week later the clocks there have been set forward, so the day was shorter.
    EXPECT_EQ(words.addingDays(time, 7), (Timestamp{time.seconds + 7 * 86400 - 3600}));
    zone = "no such zone";
    EXPECT_EQ(words.shortTime(time), "09:30");
    setZoneSource(nullptr);
    EXPECT_EQ(words.shortTime(time), "09:30");
}

} // namespace
} // namespace velmoran
