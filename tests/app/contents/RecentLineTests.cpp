#include "app/contents/RecentLine.h"

#include "Rows.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const Timestamp start{794136600}; // Monday 2026-03-02, 09:30 UTC
constexpr Seconds day = 86400;

UsageSession zoomOn(Device device) {
    return sessionOf(app("zoom"), device, start);
}

RecentLine lineOf(const UsageSession& session, Timestamp now) {
    return RecentLine::of(rowOf({session}), now);
}

TEST(RecentLine, OfAnOpenRowIsNowAndRuns) {
    const auto line = lineOf(zoomOn(Device::camera), start + 61);
    EXPECT_EQ(line.time, "Now");
    EXPECT_EQ(line.duration, "1 min");
    EXPECT_EQ(lineOf(zoomOn(Device::camera), start + 121).duration, "2 min");
}

TEST(RecentLine, OfTodayHasItsTimeAlone) {
    const auto session = ended(zoomOn(Device::camera), 12);
    EXPECT_EQ(lineOf(session, start + 3600).time, words().shortTime(start));
    EXPECT_EQ(lineOf(session, start + 3600).duration, "12 s");
}

TEST(RecentLine, OfAnEarlierDayHasDayAndMonthInTheLocalesOrder) {
    const auto session = ended(zoomOn(Device::camera), 12);
    EXPECT_EQ(lineOf(session, start + day).time, "Mar 2");
    setWords(Localizer("de_DE", "UTC", catalogues("de_DE", Platform::linux)));
    const auto german = lineOf(session, start + day).time;
    setWords(Localizer());
    EXPECT_EQ(german, "2. März");
}

TEST(RecentLine, OfWhatAQuitCutOffHasATimeAndNoDuration) {
    const auto line = lineOf(endedUnknown(zoomOn(Device::camera)), start + 60);
    EXPECT_EQ(line.time, words().shortTime(start));
    EXPECT_EQ(line.duration, "");
}

TEST(RecentLine, KnowsWhetherTheUserHasStoppedIt) {
    EXPECT_FALSE(lineOf(ended(zoomOn(Device::camera), 5), start).wasStopped);
    EXPECT_TRUE(
        lineOf(ended(zoomOn(Device::camera), 5, SessionOutcome::stoppedByUser), start).wasStopped);
}

TEST(RecentLine, HasTheRowsDevicesInTheirOrder) {
    auto microphone = ended(zoomOn(Device::microphone), 5);
    auto camera = ended(zoomOn(Device::camera), 6);
    camera.start = start + 2;
    const auto line = RecentLine::of(rowOf({microphone, camera}), start + day);
    EXPECT_EQ(line.devices, (std::vector{Device::camera, Device::microphone}));
    EXPECT_EQ(line.row, microphone.id);
    EXPECT_EQ(line.app, microphone.app);
}

TEST(RecentLine, IsSpokenWithAllThatItShows) {
    auto session = ended(zoomOn(Device::camera), 5, SessionOutcome::stoppedByUser);
    EXPECT_EQ(lineOf(session, start + 60).spoken(),
              "Name of zoom · Camera · Stopped by you · " + words().shortTime(start) + " · 5 s");
    EXPECT_EQ(lineOf(zoomOn(Device::speaker), start).spoken(),
              "Name of zoom · Speaker · Now · 0 s");
}

} // namespace
} // namespace velmoran
