#include "core/sessions/SessionEngine.h"

#include "support/Samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using testing::IsEmpty;
using testing::SizeIs;
using Kind = SessionEvent::Kind;

/// Reads one device, with the others off.
class Reader {
public:
    explicit Reader(Seconds unknownGrace = 1.0) : engine(unknownGrace) {}

    std::vector<SessionEvent> on(double at, const std::vector<AppIdentity>& apps,
                                 Device device = Device::camera) {
        return engine.ingest({{device, {.isOn = true, .apps = apps}}}, {at});
    }
    std::vector<SessionEvent> off(double at) {
        return engine.ingest({{Device::camera, DeviceUse{}}}, {at});
    }

    SessionEngine engine;
};

std::string wordsOf(const std::vector<SessionEvent>& events) {
    std::string result;
    for (const auto& event : events) {
        const auto* kind = event.kind == Kind::started        ? "started "
                           : event.kind == Kind::reattributed ? "reattributed "
                                                              : "ended ";
        result += kind + event.session.app.id + "; ";
    }
    return result;
}

TEST(SessionEngine, CountsWhatTheFirstReadingFindsAsNotObservedFromItsStart) {
    Reader reader;
    const auto first = reader.on(5, {app("a")});
    ASSERT_THAT(first, SizeIs(1));
    EXPECT_EQ(first[0].kind, Kind::started);
    EXPECT_FALSE(first[0].session.observedFromStart);
    EXPECT_EQ(first[0].session.start, Timestamp{5});
    EXPECT_EQ(first[0].session.app, app("a"));
    EXPECT_EQ(first[0].session.device, Device::camera);
    EXPECT_EQ(first[0].session.warningLevel, std::nullopt);
    EXPECT_THAT(first[0].session.connections, IsEmpty());

    const auto second = reader.on(6, {app("a"), app("b")});
    ASSERT_EQ(wordsOf(second), "started b; ");
    EXPECT_TRUE(second[0].session.observedFromStart);
}

TEST(SessionEngine, OpensAnUnknownSessionDatedBackToTheFirstIngest) {
    Reader reader;
    EXPECT_THAT(reader.on(10, {}), IsEmpty());
    EXPECT_TRUE(reader.engine.isGraceRunning());
    EXPECT_EQ(reader.engine.unattributedSince(),
              (std::map<Device, Timestamp>{{Device::camera, {10}}}));
    const auto events = reader.on(13, {});
    ASSERT_EQ(wordsOf(events), "started unknown; ");
    EXPECT_EQ(events[0].session.app, AppIdentity::unknown());
    EXPECT_EQ(events[0].session.start, Timestamp{10});
    EXPECT_TRUE(events[0].session.observedFromStart);
    EXPECT_FALSE(reader.engine.isGraceRunning());
    EXPECT_THAT(reader.on(14, {}), IsEmpty());
}

TEST(SessionEngine, CountsTheGraceByWhatElapsesWhileTheTimeStands) {
    SessionEngine engine(1.0);
    const std::map<Device, DeviceUse> on = {{Device::camera, {.isOn = true, .apps = {}}}};
    engine.ingest({}, {50}, Timestamp{50});
    EXPECT_THAT(engine.ingest(on, {50}, Timestamp{60}), IsEmpty());
    EXPECT_THAT(engine.ingest(on, {50}, Timestamp{60.9}), IsEmpty());
    const auto started = engine.ingest(on, {50}, Timestamp{61});
    ASSERT_EQ(wordsOf(started), "started unknown; ");
    EXPECT_EQ(started[0].session.start, Timestamp{50});
    const auto ended = engine.ingest({}, {50}, Timestamp{70});
    ASSERT_EQ(wordsOf(ended), "ended unknown; ");
    EXPECT_EQ(ended[0].session.end, Timestamp{50});
    // The next wait begins anew.
    EXPECT_THAT(engine.ingest(on, {50}, Timestamp{71}), IsEmpty());
}

TEST(SessionEngine, OpensAnUnknownSessionWhenTheGraceIsExactlyOver) {
    Reader reader;
    EXPECT_THAT(reader.on(0.0, {}), IsEmpty());
    EXPECT_THAT(reader.on(0.9, {}), IsEmpty());
    const auto events = reader.on(1.0, {});
    ASSERT_EQ(wordsOf(events), "started unknown; ");
    EXPECT_EQ(events[0].session.start, Timestamp{0});
}

TEST(SessionEngine, OpensAnUnknownSessionAtOnceWithoutGrace) {
    Reader reader(0);
    const auto events = reader.on(3, {});
    ASSERT_EQ(wordsOf(events), "started unknown; ");
    EXPECT_FALSE(events[0].session.observedFromStart);
    EXPECT_FALSE(reader.engine.isGraceRunning());
}

TEST(SessionEngine, ForgetsTheWaitWhenAnAppIsAttributed) {
    Reader reader;
    reader.on(0, {});
    const auto events = reader.on(0.5, {app("a")});
    ASSERT_EQ(wordsOf(events), "started a; ");
    EXPECT_EQ(events[0].session.start, Timestamp{0.5});
    EXPECT_FALSE(reader.engine.isGraceRunning());
}

TEST(SessionEngine, StartsTheWaitAnewAfterOff) {
    Reader reader;
    reader.on(0, {});
    EXPECT_THAT(reader.off(0.5), IsEmpty());
    EXPECT_FALSE(reader.engine.isGraceRunning());
    EXPECT_THAT(reader.on(0.7, {}), IsEmpty());
    EXPECT_THAT(reader.on(1.6, {}), IsEmpty());
    const auto events = reader.on(1.8, {});
    ASSERT_EQ(wordsOf(events), "started unknown; ");
    EXPECT_EQ(events[0].session.start, Timestamp{0.7});
}

TEST(SessionEngine, ReattributesTheUnknownSessionWithItsIdAndStart) {
    Reader reader;
    reader.on(0, {});
    const auto unknown = reader.on(1, {});
    const auto events = reader.on(2, {app("a")});
    ASSERT_EQ(wordsOf(events), "reattributed a; ");
    auto expected = unknown.at(0).session;
    expected.app = app("a");
    EXPECT_EQ(events[0].session, expected);
    EXPECT_EQ(reader.engine.open(), std::vector{expected});
}

TEST(SessionEngine, KeepsThatTheStartWasNotObservedOnReattribution) {
    Reader reader(0);
    reader.on(0, {});
    const auto events = reader.on(1, {app("a"), app("b")});
    ASSERT_EQ(wordsOf(events), "reattributed a; started b; ");
    EXPECT_FALSE(events[0].session.observedFromStart);
    EXPECT_TRUE(events[1].session.observedFromStart);
}

TEST(SessionEngine, ReattributesTheUnknownSessionToTheFirstApp) {
    Reader reader;
    reader.on(0, {});
    const auto unknown = reader.on(1, {});
    const auto events = reader.on(2, {app("b"), app("a")});
    ASSERT_EQ(wordsOf(events), "reattributed b; started a; ");
    EXPECT_EQ(events[0].session.id, unknown.at(0).session.id);
    EXPECT_EQ(events[0].session.start, Timestamp{0});
    EXPECT_EQ(events[1].session.start, Timestamp{2});
}

TEST(SessionEngine, KeepsTheKnownAppsPlaceOnReattribution) {
    Reader reader;
    reader.on(0, {});
    reader.on(1, {});
    reader.engine.ingest({{Device::camera, {.isOn = true, .apps = {}}},
                          {Device::microphone, {.isOn = true, .apps = {app("m")}}}},
                         {2});
    reader.engine.ingest({{Device::camera, {.isOn = true, .apps = {app("c")}}},
                          {Device::microphone, {.isOn = true, .apps = {app("m")}}}},
                         {3});
    ASSERT_THAT(reader.engine.open(), SizeIs(2));
    EXPECT_EQ(reader.engine.open()[0].app.id, "c");
    EXPECT_EQ(reader.engine.open()[1].app.id, "m");
}

TEST(SessionEngine, EndsAllSessionsOfADeviceThatIsOffOrMissing) {
    for (const bool missing : {false, true}) {
        Reader reader;
        reader.on(0, {app("a"), app("b")});
        const auto events = missing ? reader.engine.ingest({}, {4}) : reader.off(4);
        EXPECT_EQ(wordsOf(events), "ended b; ended a; ");
        for (const auto& event : events) {
            EXPECT_EQ(event.session.end, Timestamp{4});
            EXPECT_EQ(event.session.outcome, SessionOutcome::endedNormally);
        }
        EXPECT_THAT(reader.engine.open(), IsEmpty());
    }
}

TEST(SessionEngine, EndsTheUnknownSessionOfADeviceThatIsOff) {
    Reader reader(0);
    reader.on(0, {});
    EXPECT_EQ(wordsOf(reader.off(1)), "ended unknown; ");
}

TEST(SessionEngine, WaitsAgainWhenTheNamedAppsAreGoneAndTheDeviceStaysOn) {
    Reader reader;
    reader.on(0, {app("a"), app("b")});
    EXPECT_EQ(wordsOf(reader.on(2, {})), "ended b; ended a; ");
    EXPECT_EQ(reader.engine.unattributedSince().at(Device::camera), Timestamp{2});
    EXPECT_EQ(wordsOf(reader.on(3, {})), "started unknown; ");
}

TEST(SessionEngine, EndsTheLaterOpenedOfTwoSessionsFirst) {
    Reader reader;
    reader.on(0, {app("a")});
    reader.on(1, {app("a"), app("b")});
    EXPECT_EQ(wordsOf(reader.on(2, {app("c")})), "ended b; ended a; started c; ");
}

TEST(SessionEngine, MakesANewSessionOfAnAppThatComesBack) {
    Reader reader;
    const auto first = reader.on(0, {app("a"), app("b")});
    reader.on(1, {app("b")});
    const auto again = reader.on(2, {app("a"), app("b")});
    ASSERT_EQ(wordsOf(again), "started a; ");
    EXPECT_NE(again[0].session.id, first[0].session.id);
    EXPECT_EQ(again[0].session.start, Timestamp{2});
}

TEST(SessionEngine, MatchesAppsByIdAndDoesNotRefreshTheRecord) {
    Reader reader;
    reader.on(0, {app("a")});
    auto renamed = app("a");
    renamed.name = "Another name";
    EXPECT_THAT(reader.on(1, {renamed, renamed}), IsEmpty());
    EXPECT_EQ(reader.engine.open()[0].app, app("a"));
}

TEST(SessionEngine, OpensOneSessionForAnAppNamedTwice) {
    Reader reader;
    EXPECT_EQ(wordsOf(reader.on(0, {app("a"), app("a")})), "started a; ");
}

TEST(SessionEngine, TreatsAnUnidentifiedAppLikeANamedOne) {
    Reader reader(0);
    reader.on(0, {});
    EXPECT_EQ(wordsOf(reader.on(1, {unidentified("7")})), "reattributed unidentified:7; ");
    EXPECT_EQ(wordsOf(reader.on(2, {unidentified("7"), app("a")})), "started a; ");
    EXPECT_THAT(reader.engine.open(), SizeIs(2));
}

TEST(SessionEngine, KeepsAnAppApartFromWhoCannotBeNamedUnderItsId) {
    Reader reader;
    const auto odd = app("unidentified:7");
    EXPECT_EQ(wordsOf(reader.on(0, {odd, unidentified("7"), unidentified("8")})),
              "started unidentified:7; started unidentified:7; started unidentified:8; ");
    EXPECT_EQ(wordsOf(reader.on(1, {odd})), "ended unidentified:8; ended unidentified:7; ");
    ASSERT_THAT(reader.engine.open(), SizeIs(1));
    EXPECT_EQ(reader.engine.open()[0].app, odd);
}

TEST(SessionEngine, LeavesNoUnknownSessionWhenTheUnknownIdentityIsPassedAsAnApp) {
    Reader reader;
    EXPECT_EQ(wordsOf(reader.on(0, {app("a"), AppIdentity::unknown()})),
              "started a; started unknown; ended unknown; ");
    EXPECT_THAT(reader.engine.open(), SizeIs(1));
}

TEST(SessionEngine, KeepsDevicesApartAndInTheirOrder) {
    Reader reader;
    const DeviceUse use{.isOn = true, .apps = {app("a")}};
    const auto events = reader.engine.ingest(
        {{Device::speaker, use}, {Device::microphone, use}, {Device::camera, use}}, {0});
    ASSERT_THAT(events, SizeIs(3));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(events[i].session.device, allDevices[i]);
    }
    EXPECT_EQ(wordsOf(reader.on(1, {app("a")}, Device::microphone)), "ended a; ended a; ");
    ASSERT_THAT(reader.engine.open(Device::microphone), SizeIs(1));
    EXPECT_THAT(reader.engine.open(Device::camera), IsEmpty());
    EXPECT_EQ(reader.engine.open(Device::microphone)[0].id, events[1].session.id);
}

TEST(SessionEngine, GivesAStoppedSessionThatOutcomeAndForgetsTheMark) {
    Reader reader;
    const auto events = reader.on(0, {app("a"), app("b")});
    reader.engine.markStoppedByUser({events[0].session.id});
    EXPECT_EQ(reader.engine.stoppedByUser(), std::set{events[0].session.id});
    const auto ended = reader.off(1);
    ASSERT_EQ(wordsOf(ended), "ended b; ended a; ");
    EXPECT_EQ(ended[0].session.outcome, SessionOutcome::endedNormally);
    EXPECT_EQ(ended[1].session.outcome, SessionOutcome::stoppedByUser);
    EXPECT_THAT(reader.engine.stoppedByUser(), IsEmpty());
}

TEST(SessionEngine, DoesNotRememberAMarkForASessionThatIsGone) {
    Reader reader;
    const auto events = reader.on(0, {app("a")});
    reader.off(1);
    reader.engine.markStoppedByUser({events[0].session.id, Uuid::random()});
    EXPECT_THAT(reader.engine.stoppedByUser(), IsEmpty());
}

TEST(SessionEngine, KeepsTheMarkOverAReattribution) {
    Reader reader(0);
    const auto events = reader.on(0, {});
    reader.engine.markStoppedByUser({events.at(0).session.id});
    reader.on(1, {app("a")});
    const auto ended = reader.off(2);
    ASSERT_EQ(wordsOf(ended), "ended a; ");
    EXPECT_EQ(ended[0].session.outcome, SessionOutcome::stoppedByUser);
}

TEST(SessionEngine, ChangesAnOpenSessionInPlace) {
    Reader reader;
    const auto events = reader.on(0, {app("a"), app("b")});
    const auto changed = reader.engine.update(events[0].session.id, [](UsageSession& session) {
        session.warningLevel = WarningLevel::strong;
    });
    ASSERT_TRUE(changed);
    EXPECT_EQ(changed->warningLevel, WarningLevel::strong);
    EXPECT_EQ(reader.engine.open()[0], *changed);
    EXPECT_EQ(reader.engine.open()[1], events[1].session);
}

TEST(SessionEngine, ChangesNothingForAnIdThatIsNotOpen) {
    Reader reader;
    reader.on(0, {app("a")});
    const auto before = reader.engine;
    bool called = false;
    EXPECT_EQ(reader.engine.update(Uuid::random(), [&](UsageSession&) { called = true; }),
              std::nullopt);
    EXPECT_FALSE(called);
    EXPECT_EQ(reader.engine, before);
}

TEST(DeviceUse, IsOffByDefaultAndComparesItsAppsInOrder) {
    EXPECT_EQ(DeviceUse{}, (DeviceUse{.isOn = false, .apps = {}}));
    EXPECT_NE((DeviceUse{.isOn = true, .apps = {app("a"), app("b")}}),
              (DeviceUse{.isOn = true, .apps = {app("b"), app("a")}}));
}

} // namespace
} // namespace velmoran
