#include "core/history/ActivityRow.h"

#include "ActivityTools.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using enum SessionOutcome;
using enum WarningLevel;

ActivityRow rowOf(const SessionRef& first, const SessionRef& second) {
    auto row = ActivityRow::of(first);
    row.add(second);
    return row;
}

SessionRef camera(const Use& use) {
    return session(use);
}

SessionRef microphone(Use use) {
    use.device = Device::microphone;
    return session(use);
}

TEST(ActivityRow, IsOfItsFirstSession) {
    const auto first = microphone({.start = 3, .name = "Zoom 5"});
    const auto row = rowOf(first, camera({.start = 4, .name = "Zoom 6"}));
    EXPECT_EQ(row.id(), first->id);
    EXPECT_EQ(row.start(), Timestamp{3});
    EXPECT_EQ(row.app(), first->app);
    EXPECT_EQ(row.devices, (std::vector{Device::camera, Device::microphone}));
    EXPECT_EQ(row.sessions.front(), first); // shared
}

TEST(ActivityRow, IsOpenAsLongAsOneSessionIs) {
    for (const auto& row :
         {rowOf(camera({.end = 10}), microphone({})), rowOf(camera({}), microphone({.end = 10}))}) {
        EXPECT_TRUE(row.isOpen);
        EXPECT_EQ(row.end, std::nullopt);
    }
    for (const auto& row : {rowOf(camera({.end = 10}), microphone({.end = 7})),
                            rowOf(camera({.end = 7}), microphone({.end = 10}))}) {
        EXPECT_FALSE(row.isOpen);
        EXPECT_EQ(row.end, Timestamp{10});
    }
}

TEST(ActivityRow, KeepsTheEndThatIsKnown) {
    for (const auto& row : {rowOf(camera({.end = 10}), microphone({.outcome = endUnknown})),
                            rowOf(camera({.outcome = endUnknown}), microphone({.end = 10}))}) {
        EXPECT_FALSE(row.isOpen);
        EXPECT_EQ(row.end, Timestamp{10});
    }
    const auto unknown =
        rowOf(camera({.outcome = endUnknown}), microphone({.outcome = endUnknown}));
    EXPECT_FALSE(unknown.isOpen);
    EXPECT_EQ(unknown.end, std::nullopt);
}

TEST(ActivityRow, HasTheFirstOutcomeUnlessTheUserStoppedOne) {
    const auto outcome = [](SessionOutcome first, SessionOutcome second) {
        return rowOf(camera({.end = 5, .outcome = first}),
                     microphone({.end = 5, .outcome = second}))
            .outcome;
    };
    EXPECT_EQ(outcome(endedNormally, stoppedByUser), stoppedByUser);
    EXPECT_EQ(outcome(stoppedByUser, endedNormally), stoppedByUser);
    EXPECT_EQ(outcome(endUnknown, endedNormally), endUnknown);
    EXPECT_EQ(outcome(endedNormally, endUnknown), endedNormally);
    EXPECT_EQ(rowOf(camera({}), microphone({.end = 5})).outcome, std::nullopt);
}

TEST(ActivityRow, HasTheStrongestLevel) {
    const auto level = [](std::optional<WarningLevel> first, std::optional<WarningLevel> second) {
        return rowOf(camera({.warningLevel = first}), microphone({.warningLevel = second}))
            .warningLevel;
    };
    EXPECT_EQ(level(quiet, {}), quiet);
    EXPECT_EQ(level({}, quiet), quiet);
    EXPECT_EQ(level(quiet, strong), strong);
    EXPECT_EQ(level(strong, standard), strong);
    EXPECT_EQ(level({}, {}), std::nullopt);
}

TEST(ActivityRow, LastsFromItsStartToItsEnd) {
    EXPECT_EQ(ActivityRow::of(camera({.start = 10, .end = 25})).duration({100}), 15.0);
    EXPECT_EQ(ActivityRow::of(camera({.start = 10})).duration({100}), 90.0);
    EXPECT_EQ(ActivityRow::of(camera({.start = 10, .end = 4})).duration({100}), 0.0);
    EXPECT_EQ(ActivityRow::of(camera({.start = 10})).duration({4}), 0.0);
    EXPECT_EQ(ActivityRow::of(camera({.start = 10, .outcome = endUnknown})).duration({100}),
              std::nullopt);
}

TEST(ActivityRow, HasEachConnectionOnce) {
    const ConnectionRecord web{"192.0.2.1", 443, "TCP", Timestamp{1}};
    auto later = web;
    later.firstSeen = Timestamp{2};
    const ConnectionRecord call{"192.0.2.1", 443, "UDP", {}};
    const auto with = [](const SessionRef& session, std::vector<ConnectionRecord> connections) {
        auto changed = *session;
        changed.connections = std::move(connections);
        return std::make_shared<const UsageSession>(std::move(changed));
    };
    const auto row = rowOf(with(camera({}), {web, call, web}), with(microphone({}), {later, web}));
    EXPECT_EQ(row.connections(), (std::vector{web, call, later}));
    EXPECT_TRUE(ActivityRow::of(camera({})).connections().empty());
}

TEST(ActivityRow, EqualsOneOfEqualSessions) {
    const auto row = ActivityRow::of(camera({.number = 7}));
    EXPECT_EQ(row, ActivityRow::of(camera({.number = 7})));
    EXPECT_NE(row, ActivityRow::of(camera({.number = 8})));
    EXPECT_NE(row, ActivityRow::of(camera({.end = 3, .number = 7})));
}

} // namespace
} // namespace velmoran
