// Somebody sets the clock back while the program runs.
#include "tests/app/model/ModelFixture.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::appRef;
using ::testing::SizeIs;

struct ClockSetBack : testing::ModelFixture {
    const Timestamp beginning = time.now();

    std::vector<UsageSession> stored() const { return store->sessions(); }
};

TEST_F(ClockSetBack, EndsNoUseBeforeItsStart) {
    launchWatching();
    time.advanceTo(100);
    receive(camera({appRef("Zoom")}));
    time.setClock(beginning - 97199);
    time.advanceTo(130);
    receive({});
    ASSERT_THAT(stored(), SizeIs(1));
    EXPECT_EQ(stored().front().start, beginning + 100);
    EXPECT_EQ(stored().front().end, beginning + 100) << "the time stands";

    // Until the clock has caught up.
    receive(camera({appRef("Meet")}));
    time.setClock(beginning + 99);
    time.advanceBy(2);
    receive({});
    ASSERT_THAT(stored(), SizeIs(2));
    EXPECT_EQ(stored().back().app.name, "Meet");
    EXPECT_EQ(stored().back().start, beginning + 100);
    EXPECT_EQ(stored().back().end, beginning + 101);
    for (const auto& session : stored()) {
        EXPECT_GE(*session.end, session.start);
    }
}

TEST_F(ClockSetBack, StillTellsWhoCannotBeNamed) {
    launchWatching();
    time.setClock(beginning - 3600);
    receive(camera({}));
    time.advanceBy(AppModel::unknownGrace + AppModel::followUpMargin);
    ASSERT_THAT(titles(), SizeIs(1)) << "no wait ends while the time stands";
    EXPECT_EQ(titles().front(), "Unknown app turned on the camera");
    time.advanceBy(1);
    receive({});
    ASSERT_THAT(stored(), SizeIs(1));
    EXPECT_EQ(stored().front().start, beginning);
    EXPECT_EQ(stored().front().end, beginning);
}

TEST_F(ClockSetBack, StillTellsOfAHelperWithoutAnOwner) {
    const std::string path = "/usr/libexec/avconferenced";
    machine.script.signingIDs = {{path, "com.apple.avconferenced"}};
    launchWatching();
    time.setClock(beginning - 3600);
    receive(microphone({{.name = "avconferenced", .bundleID = {}, .path = path}}));
    EXPECT_THAT(titles(), SizeIs(0));
    time.advanceBy(AppModel::unknownGrace + AppModel::followUpMargin);
    EXPECT_THAT(titles(), SizeIs(1));
}

TEST_F(ClockSetBack, DuringAWaitPutsItOffByLittle) {
    launchWatching();
    receive(camera({}));
    time.setClock(beginning - 3600);
    time.advanceBy(AppModel::unknownGrace + AppModel::followUpMargin);
    time.advanceBy(AppModel::unknownGrace + AppModel::followUpMargin);
    EXPECT_THAT(titles(), SizeIs(1));
}

TEST_F(ClockSetBack, SeesNoPeerBeforeTheUse) {
    machine.script.connections["/Applications/Zoom"] = {{"192.0.2.1", 443, "TCP"}};
    launchWatching();
    time.advanceTo(10);
    receive(camera({appRef("Zoom")}));
    time.setClock(beginning - 1000);
    machine.script.connections["/Applications/Zoom"].push_back({"192.0.2.2", 443, "TCP"});
    time.advanceBy(AppModel::connectionInterval);
    ASSERT_THAT(model->openSessions->front().connections, SizeIs(2));
    EXPECT_EQ(model->openSessions->front().connections[1].firstSeen, beginning + 10);
}

TEST_F(ClockSetBack, BetweenTwoRunsLeavesTheRowsOfTheFirstAlone) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    time.advanceBy(10);
    receive({});
    receive(camera({appRef("Meet")}));
    time.setClock(beginning - 86400);
    launchWatching();
    EXPECT_EQ(model->clock().now(), beginning - 86400) << "a run begins with what the clock says";
    receive(camera({appRef("Spy")}));
    time.advanceBy(5);
    receive({});
    const auto rows = stored();
    ASSERT_THAT(rows, SizeIs(3));
    EXPECT_EQ(rows[0].app.name, "Meet");
    EXPECT_EQ(rows[0].outcome, SessionOutcome::endUnknown);
    EXPECT_EQ(rows[0].end, std::nullopt);
    EXPECT_EQ(rows[1].end, rows[1].start + 10);
    EXPECT_EQ(rows[2].app.name, "Spy") << "newest start first";
    EXPECT_EQ(rows[2].end, rows[2].start + 5);
}

} // namespace
} // namespace velmoran
