#include "core/base/ForwardClock.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

struct HandClock final : Clock {
    Timestamp time{1000};
    Timestamp now() const override { return time; }
};

TEST(ForwardClock, SaysWhatTheClockSays) {
    HandClock hand;
    const ForwardClock clock(hand);
    for (const double seconds : {1000.0, 1000.1, 1000.3, 5000.7}) {
        hand.time = {seconds};
        EXPECT_EQ(clock.now(), hand.time);
        EXPECT_EQ(clock.elapsing(), hand.time) << "nothing is added where nothing was taken";
    }
}

TEST(ForwardClock, StandsAfterTheClockWasSetBackUntilThatHasCaughtUp) {
    HandClock hand;
    const ForwardClock clock(hand);
    hand.time = {1010};
    EXPECT_EQ(clock.now(), Timestamp{1010});
    for (const double seconds : {10.0, 500.0, 1009.9}) {
        hand.time = {seconds};
        EXPECT_EQ(clock.now(), Timestamp{1010});
    }
    hand.time = {1010.5};
    EXPECT_EQ(clock.now(), Timestamp{1010.5});
}

TEST(ForwardClock, GoesOnElapsingWhileItStands) {
    HandClock hand;
    const ForwardClock clock(hand);
    hand.time = {400};
    const auto began = clock.elapsing();
    hand.time = {403};
    EXPECT_EQ(clock.elapsing() - began, 3.0);
    hand.time = {100}; // once more
    EXPECT_EQ(clock.elapsing() - began, 3.0);
    hand.time = {101};
    EXPECT_EQ(clock.elapsing() - began, 4.0);
    EXPECT_EQ(clock.now(), Timestamp{1000});
}

TEST(ForwardClock, RemembersWhatTheClockSaidWhenItWasMade) {
    HandClock hand;
    const ForwardClock clock(hand);
    hand.time = {1};
    EXPECT_EQ(clock.now(), Timestamp{1000});
}

RC_GTEST_PROP(ForwardClock, NeverRunsBackAndIsNeverBehind, ()) {
    HandClock hand;
    const ForwardClock clock(hand);
    auto now = clock.now();
    auto elapsing = clock.elapsing();
    const auto times = *rc::gen::container<std::vector<double>>(
        rc::gen::map(rc::gen::inRange(0, 4000), [](int quarters) { return quarters / 4.0; }));
    for (const double seconds : times) {
        hand.time = {seconds};
        RC_ASSERT(clock.now() >= now);
        RC_ASSERT(clock.now() >= hand.time);
        RC_ASSERT(clock.elapsing() >= elapsing);
        now = clock.now();
        elapsing = clock.elapsing();
    }
}

} // namespace
} // namespace velmoran
