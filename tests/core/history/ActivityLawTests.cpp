// Rows, times and days beside the plainest way to make them.
#include "ActivityTools.h"
#include "LiteralActivity.h"
#include "core/history/Activity.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

RC_GTEST_PROP(ActivityLaws, RowsAreThoseOfALookThroughAllRows, ()) {
    std::mt19937 random(*rc::gen::arbitrary<std::uint32_t>());
    const auto count = *rc::gen::inRange(0U, 120U);
    auto sessions = randomSessions(random, count, *rc::gen::inRange(1U, 90U));
    const auto rows = Activity::rows(sessions);
    RC_ASSERT(rows == literal::rows(sessions));

    // A row has each device once, and each session is in one row.
    std::size_t inRows = 0;
    for (const auto& row : rows) {
        inRows += row.sessions.size();
        RC_ASSERT(row.devices.size() == row.sessions.size());
        RC_ASSERT(std::ranges::adjacent_find(row.devices) == row.devices.end());
        RC_ASSERT(row.devices.size() == 1 || row.devices.back() != Device::speaker);
    }
    RC_ASSERT(inRows == count);

    // As the history gives them.
    std::ranges::stable_sort(sessions, std::greater(),
                             [](const auto& each) { return each->start; });
    RC_ASSERT(Activity::rows(sessions) == literal::rows(sessions));
}

RC_GTEST_PROP(ActivityLaws, TimesAreThoseOfALookThroughAllTimes, ()) {
    std::mt19937 random(*rc::gen::arbitrary<std::uint32_t>());
    const auto sessions = randomSessions(random, *rc::gen::inRange(0U, 120U), 90);
    const auto moment = [&] {
        return Timestamp{700000000 + static_cast<double>(random() % 1200) / 10 - 10};
    };
    const Interval interval{moment(), moment()};
    const auto now = moment();
    RC_ASSERT(Activity::appTimes(sessions, interval, now) ==
              literal::appTimes(sessions, interval, now));
}

RC_GTEST_PROP(ActivityLaws, DaysAreThoseOfALookThroughAllSessionsForEachDay, ()) {
    std::mt19937 random(*rc::gen::arbitrary<std::uint32_t>());
    const auto* zone =
        *rc::gen::element("UTC", "Europe/Berlin", "America/New_York", "Australia/Lord_Howe");
    const Localizer calendar("en_US", zone, {});
    // Half a year around 2023-03-07, with changes of the clocks in it.
    auto sessions = randomSessions(random, *rc::gen::inRange(0U, 120U), 15'000'000);
    const Timestamp now{700000000 + static_cast<double>(random() % 16'000'000)};
    const auto count = *rc::gen::inRange(0, 100);
    RC_ASSERT(DayUsage::days(sessions, count, now, calendar) ==
              literal::days(sessions, count, now, calendar));
}

} // namespace
} // namespace velmoran
