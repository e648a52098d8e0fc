#include "core/history/ActivityRow.h"

#include "ActivityTools.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

ActivityRow joined(const SessionRef& first, const SessionRef& second) {
    auto row = ActivityRow::of(first);
    row.add(second);
    return row;
}

SessionRef cameraUse(const SomeUse& use) {
    return someUse(use);
}

SessionRef microphoneUse(SomeUse use) {
    use.device = Device::microphone;
    return someUse(use);
}

TEST(ActivityRow, IsOfItsFirstSession) {
    const auto first = microphoneUse({.start = 3, .name = "Zoom 5"});
    const auto row = joined(first, cameraUse({.start = 4, .name = "Zoom 6"}));
    EXPECT_EQ(row.id(), first->id);
    EXPECT_EQ(row.start(), Timestamp{3});
    EXPECT_EQ(row.app(), first->app);
    EXPECT_EQ(row.devices, (std::vector{Device::camera, Device::microphone}));
    EXPECT_EQ(row.sessions.front(), first); // shared
}

TEST(ActivityRow, IsOpenAsLongAsOneSessionIs) {
    for (const auto& row : {joined(cameraUse({.end = 10}), microphoneUse({})),
                            joined(cameraUse({}), microphoneUse({.end = 10}))}) {
        EXPECT_TRUE(row.isOpen);
        EXPECT_EQ(row.end, std::nullopt);
    }
    for (const auto& row : {joined(cameraUse({.end = 10}), microphoneUse({.end = 7})),
                            joined(cameraUse({.end = 7}), microphoneUse({.end = 10}))}) {
        EXPECT_FALSE(row.isOpen);
        EXPECT_EQ(row.end, Timestamp{10});
    }
}

TEST(ActivityRow, KeepsTheEndThatIsKnown) {
    for (const auto& row :
         {joined(cameraUse({.end = 10}), microphoneUse({.outcome = SessionOutcome::endUnknown})),
          joined(cameraUse({.outcome = SessionOutcome::endUnknown}), microphoneUse({.end = 10}))}) {
        EXPECT_FALSE(row.isOpen);
        EXPECT_EQ(row.end, Timestamp{10});
    }
    const auto unknown = joined(cameraUse({.outcome = SessionOutcome::endUnknown}),
                                microphoneUse({.outcome = SessionOutcome::endUnknown}));
    EXPECT_FALSE(unknown.isOpen);
    EXPECT_EQ(unknown.end, std::nullopt);
}

TEST(ActivityRow, HasTheFirstOutcomeUnlessTheUserStoppedOne) {
    const auto outcome = [](SessionOutcome first, SessionOutcome second) {
        return joined(cameraUse({.end = 5, .outcome = first}),
                      microphoneUse({.end = 5, .outcome = second}))
            .outcome;
    };
    EXPECT_EQ(outcome(SessionOutcome::endedNormally, SessionOutcome::stoppedByUser),
              SessionOutcome::stoppedByUser);
    EXPECT_EQ(outcome(SessionOutcome::stoppedByUser, SessionOutcome::endedNormally),
              SessionOutcome::stoppedByUser);
    EXPECT_EQ(outcome(SessionOutcome::endUnknown, SessionOutcome::endedNormally),
              SessionOutcome::endUnknown);
    EXPECT_EQ(outcome(SessionOutcome::endedNormally, SessionOutcome::endUnknown),
              SessionOutcome::endedNormally);
    EXPECT_EQ(joined(cameraUse({}), microphoneUse({.end = 5})).outcome, std::nullopt);
}

TEST(ActivityRow, HasTheStrongestLevel) {
    const auto level = [](std::optional<WarningLevel> first, std::optional<WarningLevel> second) {
        return joined(cameraUse({.warningLevel = first}), microphoneUse({.warningLevel = second}))
            .warningLevel;
    };
    EXPECT_EQ(level(WarningLevel::quiet, {}), WarningLevel::quiet);
    EXPECT_EQ(level({}, WarningLevel::quiet), WarningLevel::quiet);
    EXPECT_EQ(level(WarningLevel::quiet, WarningLevel::strong), WarningLevel::strong);
    EXPECT_EQ(level(WarningLevel::strong, WarningLevel::standard), WarningLevel::strong);
    EXPECT_EQ(level({}, {}), std::nullopt);
}

TEST(ActivityRow, LastsFromItsStartToItsEnd) {
    EXPECT_EQ(ActivityRow::of(cameraUse({.start = 10, .end = 25})).duration({100}), 15.0);
    EXPECT_EQ(ActivityRow::of(cameraUse({.start = 10})).duration({100}), 90.0);
    EXPECT_EQ(ActivityRow::of(cameraUse({.start = 10, .end = 4})).duration({100}), 0.0);
    EXPECT_EQ(ActivityRow::of(cameraUse({.start = 10})).duration({4}), 0.0);
    EXPECT_EQ(ActivityRow::of(cameraUse({.start = 10, .outcome = SessionOutcome::endUnknown}))
                  .duration({100}),
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
    const auto row =
        joined(with(cameraUse({}), {web, call, web}), with(microphoneUse({}), {later, web}));
    EXPECT_EQ(row.connections(), (std::vector{web, call, later}));
    EXPECT_TRUE(ActivityRow::of(cameraUse({})).connections().empty());
}

TEST(ActivityRow, EqualsOneOfEqualSessions) {
    const auto row = ActivityRow::of(cameraUse({.number = 7}));
    EXPECT_EQ(row, ActivityRow::of(cameraUse({.number = 7})));
    EXPECT_NE(row, ActivityRow::of(cameraUse({.number = 8})));
    EXPECT_NE(row, ActivityRow::of(cameraUse({.end = 3, .number = 7})));
}

} // namespace
} // namespace velmoran
