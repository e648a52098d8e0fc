#include "app/contents/RecentLine.h"

#include "Rows.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const Timestamp recentStart{794136600}; // Monday 2026-03-02, 09:30 UTC
constexpr Seconds oneDay = 86400;

UsageSession recentSession(Device device) {
    return sessionOf(app("zoom"), device, recentStart);
}

RecentLine recentLineOf(const UsageSession& session, Timestamp now) {
    return RecentLine::of(rowOf({session}), now);
}

TEST(RecentLine, OfAnOpenRowIsNowAndRuns) {
    const auto line = recentLineOf(recentSession(Device::camera), recentStart + 61);
    EXPECT_EQ(line.time, "Now");
    EXPECT_EQ(line.duration, "1 min");
    EXPECT_EQ(recentLineOf(recentSession(Device::camera), recentStart + 121).duration, "2 min");
}

TEST(RecentLine, OfTodayHasItsTimeAlone) {
    const auto session = ended(recentSession(Device::camera), 12);
    EXPECT_EQ(recentLineOf(session, recentStart + 3600).time, words().shortTime(recentStart));
    EXPECT_EQ(recentLineOf(session, recentStart + 3600).duration, "12 s");
}

TEST(RecentLine, OfAnEarlierDayHasDayAndMonthInTheLocalesOrder) {
    const auto session = ended(recentSession(Device::camera), 12);
    EXPECT_EQ(recentLineOf(session, recentStart + oneDay).time, "Mar 2");
    setWords(Localizer("de_DE", "UTC", catalogues("de_DE", Platform::linux)));
    const auto german = recentLineOf(session, recentStart + oneDay).time;
    setWords(Localizer());
    EXPECT_EQ(german, "2. März");
}

TEST(RecentLine, OfWhatAQuitCutOffHasATimeAndNoDuration) {
    const auto line = recentLineOf(endedUnknown(recentSession(Device::camera)), recentStart + 60);
    EXPECT_EQ(line.time, words().shortTime(recentStart));
    EXPECT_EQ(line.duration, "");
}

TEST(RecentLine, KnowsWhetherTheUserHasStoppedIt) {
    EXPECT_FALSE(recentLineOf(ended(recentSession(Device::camera), 5), recentStart).wasStopped);
    EXPECT_TRUE(recentLineOf(ended(recentSession(Device::camera), 5, SessionOutcome::stoppedByUser),
                             recentStart)
                    .wasStopped);
}

TEST(RecentLine, HasTheRowsDevicesInTheirOrder) {
    auto microphone = ended(recentSession(Device::microphone), 5);
    auto camera = ended(recentSession(Device::camera), 6);
    camera.start = recentStart + 2;
    const auto line = RecentLine::of(rowOf({microphone, camera}), recentStart + oneDay);
    EXPECT_EQ(line.devices, (std::vector{Device::camera, Device::microphone}));
    EXPECT_EQ(line.row, microphone.id);
    EXPECT_EQ(line.app, microphone.app);
}

TEST(RecentLine, IsSpokenWithAllThatItShows) {
    auto session = ended(recentSession(Device::camera), 5, SessionOutcome::stoppedByUser);
    EXPECT_EQ(recentLineOf(session, recentStart + 60).spoken(),
              "Name of zoom · Camera · Stopped by you · " + words().shortTime(recentStart) +
                  " · 5 s");
    EXPECT_EQ(recentLineOf(recentSession(Device::speaker), recentStart).spoken(),
              "Name of zoom · Speaker · Now · 0 s");
}

} // namespace
} // namespace velmoran
