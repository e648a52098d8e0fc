#include "core/history/Activity.h"

#include "ActivityTools.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Devices = std::vector<Device>;

std::vector<Devices> devicesOf(const std::vector<ActivityRow>& rows) {
    std::vector<Devices> result;
    for (const auto& row : rows) {
        result.push_back(row.devices);
    }
    return result;
}

TEST(Activity, JoinsWhatAnAppTurnsOnWithinFiveSeconds) {
    const auto first = someUse({.device = Device::camera, .start = 36000});
    const auto rows =
        Activity::rows({first, someUse({.device = Device::microphone, .start = 36005})});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].devices, (Devices{Device::camera, Device::microphone}));
    EXPECT_EQ(rows[0].id(), first->id);

    const auto apart =
        Activity::rows({first, someUse({.device = Device::microphone, .start = 36005.1})});
    EXPECT_EQ(devicesOf(apart), (std::vector<Devices>{{Device::microphone}, {Device::camera}}));
}

TEST(Activity, TakesSessionsInAnyOrder) {
    const auto sound = someUse({.device = Device::microphone, .start = 100});
    const auto picture = someUse({.device = Device::camera, .start = 103});
    for (const auto& list : {SessionList{sound, picture}, SessionList{picture, sound}}) {
        const auto rows = Activity::rows(list);
        ASSERT_EQ(rows.size(), 1U);
        EXPECT_EQ(rows[0].devices, (Devices{Device::camera, Device::microphone}));
        EXPECT_EQ(rows[0].start(), Timestamp{100});
        EXPECT_EQ(rows[0].sessions, (SessionList{sound, picture}));
    }
}

TEST(Activity, KnowsAnAppByItsIdentifier) {
    const auto rows =
        Activity::rows({someUse({.device = Device::camera, .start = 1, .name = "Old"}),
                        someUse({.device = Device::microphone, .start = 2, .name = "New"})});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].app().name, "Old");
    EXPECT_EQ(Activity::rows({someUse({.device = Device::camera, .app = "a"}),
                              someUse({.device = Device::microphone, .app = "b"})})
                  .size(),
              2U);
}

TEST(Activity, NeverJoinsAnAppWithWhatOnlyBearsItsIdentifier) {
    auto disguised = *someUse({.device = Device::microphone});
    disguised.app.unidentified = true;
    EXPECT_EQ(Activity::rows({someUse({.device = Device::camera}),
                              std::make_shared<const UsageSession>(disguised)})
                  .size(),
              2U);
}

TEST(Activity, LeavesASpeakerAlone) {
    for (const double speaks : {9.5, 10.5}) {
        const auto rows = Activity::rows({someUse({.device = Device::camera, .start = 10}),
                                          someUse({.device = Device::speaker, .start = speaks}),
                                          someUse({.device = Device::microphone, .start = 11})});
        ASSERT_EQ(rows.size(), 2U);
        EXPECT_EQ(rows[speaks > 10 ? 0 : 1].devices, Devices{Device::speaker});
        EXPECT_EQ(rows[speaks > 10 ? 1 : 0].devices, (Devices{Device::camera, Device::microphone}));
    }
    EXPECT_EQ(
        Activity::rows({someUse({.device = Device::speaker}), someUse({.device = Device::speaker})})
            .size(),
        2U);
}

TEST(Activity, HasADeviceOnceInARow) {
    const auto first = someUse({.device = Device::camera, .start = 10});
    const auto second = someUse({.device = Device::camera, .start = 12});
    const SessionList full = {first, someUse({.device = Device::microphone, .start = 11}), second};
    EXPECT_EQ(devicesOf(Activity::rows(full)),
              (std::vector<Devices>{{Device::camera}, {Device::camera, Device::microphone}}));

    auto more = full;
    more.push_back(someUse({.device = Device::microphone, .start = 13}));
    const auto rows = Activity::rows(more);
    EXPECT_EQ(devicesOf(rows), (std::vector<Devices>{{Device::camera, Device::microphone},
                                                     {Device::camera, Device::microphone}}));
    EXPECT_EQ(rows[0].id(), second->id);
    EXPECT_EQ(rows[1].id(), first->id);
}

TEST(Activity, PutsASessionIntoTheNewestRowThatTakesIt) {
    const auto rows = Activity::rows({someUse({.device = Device::camera, .start = 10}),
                                      someUse({.device = Device::camera, .start = 11}),
                                      someUse({.device = Device::microphone, .start = 12}),
                                      someUse({.device = Device::microphone, .start = 14})});
    EXPECT_EQ(devicesOf(rows), (std::vector<Devices>{{Device::camera, Device::microphone},
                                                     {Device::camera, Device::microphone}}));
    EXPECT_EQ(rows[0].sessions[1]->start, Timestamp{12});
    EXPECT_EQ(rows[1].sessions[1]->start, Timestamp{14});
}

TEST(Activity, MeasuresFromTheRowsStartAlone) {
    // The second camera is within five seconds of the microphone, but begins a row of its
    // own: a chain doesn't make a row longer.
    EXPECT_EQ(devicesOf(Activity::rows({someUse({.device = Device::camera, .start = 0}),
                                        someUse({.device = Device::microphone, .start = 4}),
                                        someUse({.device = Device::camera, .start = 8}),
                                        someUse({.device = Device::microphone, .start = 13.5})})),
              (std::vector<Devices>{
                  {Device::microphone}, {Device::camera}, {Device::camera, Device::microphone}}));
}

TEST(Activity, GivesTheNewestRowFirstAndKeepsTheOrderOfEqualStarts) {
    const auto old = someUse({.app = "a", .start = 1});
    const auto one = someUse({.app = "b", .start = 2});
    const auto other = someUse({.app = "c", .start = 2});
    const auto rows = Activity::rows({one, old, other});
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0].sessions.front(), one);
    EXPECT_EQ(rows[1].sessions.front(), other);
    EXPECT_EQ(rows[2].sessions.front(), old);
    EXPECT_TRUE(Activity::rows({}).empty());
}

// MARK: - What lies in a period

TEST(Activity, MatchesWhatIsGiven) {
    const auto one = someUse({.device = Device::camera, .app = "a", .start = 10, .end = 20});
    const auto two = someUse({.device = Device::microphone, .app = "a", .start = 10, .end = 20});
    const auto three = someUse({.device = Device::camera, .app = "b", .start = 50, .end = 60});
    const SessionList all = {three, two, one};
    EXPECT_EQ(Activity::matching(all, {}, {}, {}, {100}), all);
    EXPECT_EQ(Activity::matching(all, Device::camera, {}, {}, {100}), (SessionList{three, one}));
    EXPECT_EQ(Activity::matching(all, {}, "a", {}, {100}), (SessionList{two, one}));
    EXPECT_EQ(Activity::matching(all, Device::camera, "a", Interval{{0}, {30}}, {100}),
              SessionList{one});
    EXPECT_TRUE(Activity::matching(all, Device::speaker, {}, {}, {100}).empty());
}

TEST(Activity, MatchesASessionThatEndsExactlyWhereAnIntervalStarts) {
    const auto ended = someUse({.start = 5, .end = 10});
    EXPECT_EQ(Activity::matching({ended}, {}, {}, Interval{{10}, {20}}, {100}), SessionList{ended});
    EXPECT_TRUE(Activity::matching({ended}, {}, {}, Interval{{10.1}, {20}}, {100}).empty());
    EXPECT_TRUE(Activity::appTimes({ended}, Interval{{10}, {20}}, {100}).empty());
}

TEST(Activity, MatchesNothingThatStartsWhereAnIntervalEnds) {
    const auto starting = someUse({.start = 20, .end = 30});
    EXPECT_TRUE(Activity::matching({starting}, {}, {}, Interval{{10}, {20}}, {100}).empty());
    EXPECT_EQ(Activity::matching({starting}, {}, {}, Interval{{10}, {20.1}}, {100}),
              SessionList{starting});
}

TEST(Activity, MatchesAnOpenSessionUpToNowAndOneWithoutAnEndByItsStart) {
    const auto open = someUse({.start = 5});
    const auto lost = someUse({.start = 5, .outcome = SessionOutcome::endUnknown});
    EXPECT_EQ(Activity::matching({open, lost}, {}, {}, Interval{{10}, {20}}, {12}),
              SessionList{open});
    EXPECT_TRUE(Activity::matching({open}, {}, {}, Interval{{13}, {20}}, {12}).empty());
    EXPECT_EQ(Activity::matching({lost}, {}, {}, Interval{{5}, {20}}, {12}), SessionList{lost});
}

// MARK: - Times

TEST(Activity, HasNoTimesOfNothing) {
    EXPECT_TRUE(Activity::appTimes({}, {{0}, {100}}, {50}).empty());
}

TEST(Activity, AddsTheTimesOfAnApp) {
    const auto times = Activity::appTimes(
        {someUse({.device = Device::camera, .start = 0, .end = 600}),
         someUse({.device = Device::microphone, .start = 0, .end = 600}),
         someUse({.device = Device::speaker, .app = "music", .start = 0, .end = 1300})},
        {{0}, {2000}}, {3000});
    ASSERT_EQ(times.size(), 2U);
    EXPECT_EQ(times[0].app.id, "music");
    EXPECT_EQ(times[0].seconds, 1300);
    EXPECT_EQ(times[1].app.id, "zoom");
    EXPECT_EQ(times[1].seconds, 1200);
}

TEST(Activity, CutsTimesAtTheInterval) {
    const Interval interval{{100}, {200}};
    const auto seconds = [&](const SomeUse& use, double now) {
        const auto times = Activity::appTimes({someUse(use)}, interval, {now});
        return times.empty() ? 0 : times[0].seconds;
    };
    EXPECT_EQ(seconds({.start = 50, .end = 150}, 1000), 50);
    EXPECT_EQ(seconds({.start = 150, .end = 250}, 1000), 50);
    EXPECT_EQ(seconds({.start = 50, .end = 250}, 1000), 100);
    EXPECT_EQ(seconds({.start = 150}, 180), 30);
    EXPECT_EQ(seconds({.start = 150}, 1000), 50);
    EXPECT_EQ(seconds({.start = 190}, 180), 0);
    EXPECT_EQ(seconds({.start = 150, .end = 120}, 1000), 0);
    EXPECT_EQ(seconds({.start = 150, .outcome = SessionOutcome::endUnknown}, 1000), 0);
}

TEST(Activity, SortsTimesByLengthAndThenByName) {
    const auto ofLength = [](const std::string& name, double seconds) {
        return someUse({.app = "id of " + name, .start = 0, .end = seconds, .name = name});
    };
    const auto times =
        Activity::appTimes({ofLength("b", 5), ofLength("a", 5), ofLength("Z", 5), ofLength("c", 9)},
                           {{0}, {100}}, {100});
    std::string order;
    for (const auto& time : times) {
        order += time.app.name;
    }
    EXPECT_EQ(order, "cZab");
}

TEST(Activity, CallsAnAppByItsLaterNameInTimes) {
    const auto times = Activity::appTimes({someUse({.start = 0, .end = 5, .name = "First"}),
                                           someUse({.start = 0, .end = 5, .name = "Second"}),
                                           someUse({.start = 200, .end = 205, .name = "Outside"})},
                                          {{0}, {100}}, {300});
    ASSERT_EQ(times.size(), 1U);
    EXPECT_EQ(times[0].app.name, "Second");
    EXPECT_EQ(times[0].seconds, 10);
}

} // namespace
} // namespace velmoran
