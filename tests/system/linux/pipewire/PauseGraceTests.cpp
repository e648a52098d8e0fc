#include "system/linux/pipewire/PauseGrace.h"
#include "system/scripted/ScriptedTime.h"

#include <gmock/gmock.h>

#include <map>

namespace velmoran {
namespace {

using State = GraphNode::State;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Nodes = std::vector<GraphSerial>;

struct PauseGraceTest : ::testing::Test {
    ScriptedTime time;
    std::map<GraphSerial, State> counted; ///< as the graph keeps it
    std::vector<Nodes> over;
    PauseGrace grace{time, 0.04, [this](const Nodes& nodes) {
                         over.push_back(nodes);
                         for (const auto node : nodes) {
                             counted[node] = State::idle;
                         }
                     }};

    State tell(State state, GraphSerial node = 7) {
        const auto before = counted.try_emplace(node, State::creating).first->second;
        return counted[node] = grace.effectiveState(node, before, state);
    }
};

TEST_F(PauseGraceTest, MakesAShortPauseNone) {
    EXPECT_EQ(tell(State::running), State::running);
    EXPECT_EQ(tell(State::idle), State::pausing);
    time.advanceTo(0.039);
    EXPECT_EQ(tell(State::running), State::running);
    time.advanceTo(1);
    EXPECT_THAT(over, IsEmpty());
}

TEST_F(PauseGraceTest, EndsALongPauseOnce) {
    tell(State::running);
    tell(State::idle);
    time.advanceTo(0.039);
    EXPECT_THAT(over, IsEmpty());
    time.advanceTo(0.04);
    EXPECT_THAT(over, ElementsAre(ElementsAre(7)));
    EXPECT_EQ(tell(State::idle), State::idle) << "told again, by a change of something else";
    time.advanceTo(1);
    EXPECT_EQ(over.size(), 1U);
}

TEST_F(PauseGraceTest, CanBeProlongedOnce) {
    std::vector<bool> prolonged;
    PauseGrace* asked = nullptr;
    PauseGrace prolonging(time, 0.04, [&](const Nodes& nodes) {
        ASSERT_THAT(nodes, ElementsAre(7));
        prolonged.push_back(asked->prolong(7));
    });
    asked = &prolonging;
    EXPECT_EQ(prolonging.effectiveState(7, State::running, State::idle), State::pausing);
    time.advanceTo(0.04);
    EXPECT_THAT(prolonged, ElementsAre(true));
    EXPECT_EQ(prolonging.effectiveState(7, State::pausing, State::idle), State::pausing);
    time.advanceTo(0.08);
    EXPECT_THAT(prolonged, ElementsAre(true, false));
    EXPECT_EQ(prolonging.effectiveState(7, State::idle, State::idle), State::idle);
    time.advanceTo(1);
    EXPECT_EQ(prolonged.size(), 2U);
    // The next pause may be prolonged again.
    EXPECT_EQ(prolonging.effectiveState(7, State::running, State::idle), State::pausing);
    time.advanceTo(1.04);
    EXPECT_THAT(prolonged, ElementsAre(true, false, true));
}

TEST_F(PauseGraceTest, CountsNothingAsRunningThatNeverRan) {
    EXPECT_EQ(tell(State::idle), State::idle);
    EXPECT_EQ(tell(State::suspended), State::suspended);
    EXPECT_EQ(tell(State::idle), State::idle);
    EXPECT_EQ(time.nextDue(), std::nullopt);
}

TEST_F(PauseGraceTest, HasNoneWithErrorsAndClosedDevices) {
    for (const auto end : {State::error, State::suspended, State::creating}) {
        tell(State::running);
        EXPECT_EQ(tell(end), end);
        tell(State::running);
        tell(State::idle);
        EXPECT_EQ(tell(end), end) << "also while it pauses";
        EXPECT_EQ(tell(State::idle), State::idle);
    }
    time.advanceTo(1);
    EXPECT_THAT(over, IsEmpty());
}

TEST_F(PauseGraceTest, IsNotLengthenedByWhatIsToldMeanwhile) {
    tell(State::running);
    tell(State::idle);
    time.advanceTo(0.03);
    grace.turnEnded();
    EXPECT_EQ(tell(State::idle), State::pausing);
    time.advanceTo(0.04);
    EXPECT_THAT(over, ElementsAre(ElementsAre(7)));
}

TEST_F(PauseGraceTest, BeginsAnewWithEachPause) {
    tell(State::running);
    for (int turn = 1; turn <= 100; ++turn) {
        EXPECT_EQ(tell(State::idle), State::pausing);
        time.advanceBy(0.03);
        grace.turnEnded();
        EXPECT_EQ(tell(State::running), State::running);
        time.advanceBy(0.005);
        grace.turnEnded();
    }
    EXPECT_THAT(over, IsEmpty());
    tell(State::idle);
    time.advanceBy(0.039);
    EXPECT_THAT(over, IsEmpty());
    time.advanceBy(0.001);
    EXPECT_EQ(over.size(), 1U);
}

TEST_F(PauseGraceTest, BeginsAnewWithinATurn) {
    tell(State::running);
    tell(State::idle);
    tell(State::running);
    time.advanceTo(0.02);
    grace.turnEnded();
    tell(State::idle);
    time.advanceTo(0.04);
    EXPECT_THAT(over, IsEmpty());
    time.advanceTo(0.06);
    EXPECT_THAT(over, ElementsAre(ElementsAre(7)));
}

TEST_F(PauseGraceTest, EndsManyThatPauseAtOnceAtOnce) {
    for (GraphSerial node = 1; node <= 100; ++node) {
        tell(State::running, node);
        tell(State::idle, node);
    }
    grace.turnEnded();
    time.advanceTo(0.01);
    tell(State::running, 200);
    tell(State::idle, 200);
    tell(State::running, 50);
    time.advanceTo(0.04);
    ASSERT_EQ(over.size(), 1U);
    EXPECT_EQ(over[0].size(), 99U);
    time.advanceTo(0.05);
    ASSERT_EQ(over.size(), 2U);
    EXPECT_THAT(over[1], ElementsAre(200));
}

TEST_F(PauseGraceTest, WaitsForNothingWhenNothingPauses) {
    tell(State::running);
    tell(State::idle);
    tell(State::running);
    time.advanceTo(1);
    EXPECT_EQ(time.nextDue(), std::nullopt);
    tell(State::idle);
    grace.clear();
    EXPECT_EQ(time.nextDue(), std::nullopt);
    EXPECT_EQ(grace.effectiveState(7, State::creating, State::idle), State::idle);
}

TEST_F(PauseGraceTest, CanBeSwitchedOff) {
    PauseGrace none(time, 0, [](const Nodes&) { FAIL(); });
    EXPECT_EQ(none.effectiveState(7, State::running, State::idle), State::idle);
    EXPECT_EQ(time.nextDue(), std::nullopt);
}

} // namespace
} // namespace velmoran
