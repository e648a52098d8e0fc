#include "app/contents/Sessions.h"
#include "app/contents/TotalsContent.h"

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

const Timestamp totalsNow = midnight + 10 * hour;

TotalsContent totals(const SessionList& sessions, std::optional<Device> device,
                     HistoryRange range) {
    return TotalsContent::of(sessions, device, range, totalsNow, Localizer());
}

TEST(TotalsContent, NamesTheDeviceThatIsCounted) {
    EXPECT_EQ(totals({}, std::nullopt, HistoryRange::week).device, "All devices");
    EXPECT_EQ(totals({}, Device::camera, HistoryRange::week).device, "Camera");
    EXPECT_EQ(totals({}, Device::microphone, HistoryRange::week).device, "Microphone");
    EXPECT_EQ(totals({}, Device::speaker, HistoryRange::week).device, "Speaker");
}

TEST(TotalsContent, HasNothingForTheCameraOnAnEmptyDay) {
    const SessionList sessions = {
        shared(sessionOf("Call", Device::microphone, totalsNow - hour, totalsNow - 60)),
        shared(sessionOf("Call", Device::camera, totalsNow - day, totalsNow - day + 60)),
    };
    EXPECT_THAT(totals(sessions, Device::camera, HistoryRange::today).apps, IsEmpty());
    EXPECT_THAT(totals(sessions, Device::camera, HistoryRange::week).apps,
                ElementsAre(AppTime{appNamed("Call"), 60}));
}

TEST(TotalsContent, CountsOnlyWhatLiesInThePeriodTheLongestFirst) {
    const SessionList sessions = {
        shared(sessionOf("Open", Device::camera, totalsNow - 60)),
        shared(sessionOf("Long", Device::speaker, midnight - hour, midnight + 2 * hour)),
        shared(sessionOf("Old", Device::camera, midnight - 7 * day, midnight - 6 * day)),
    };
    EXPECT_THAT(totals(sessions, std::nullopt, HistoryRange::today).apps,
                ElementsAre(AppTime{appNamed("Long"), 2 * hour}, AppTime{appNamed("Open"), 60}));
    EXPECT_THAT(totals(sessions, std::nullopt, HistoryRange::week).apps,
                ElementsAre(AppTime{appNamed("Long"), 3 * hour}, AppTime{appNamed("Open"), 60}));
}

} // namespace
} // namespace velmoran
