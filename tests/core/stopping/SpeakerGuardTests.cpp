#include "core/stopping/SpeakerGuard.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using RouteKind = OutputRoute::Kind;

std::optional<OutputRoute> route(RouteKind kind, std::uint32_t id, bool muted = false) {
    return OutputRoute{.id = id, .name = "Out", .kind = kind, .volume = {}, .isMuted = muted};
}

TEST(SpeakerGuard, MutesWhenTheHeadphonesAreGone) {
    EXPECT_TRUE(SpeakerGuard::shouldMute(route(RouteKind::headphones, 1),
                                         route(RouteKind::builtInSpeakers, 2), false, true));
}

TEST(SpeakerGuard, NeverMutesWhenTurnedOff) {
    EXPECT_FALSE(SpeakerGuard::shouldMute(route(RouteKind::headphones, 1),
                                          route(RouteKind::builtInSpeakers, 2), false, false));
}

TEST(SpeakerGuard, LeavesSpeakersThatWerePickedByHand) {
    EXPECT_FALSE(SpeakerGuard::shouldMute(route(RouteKind::headphones, 1),
                                          route(RouteKind::builtInSpeakers, 2), true, true));
}

TEST(SpeakerGuard, MutesOneDeviceThatSwitchesFromHeadphonesToSpeakers) {
    EXPECT_TRUE(SpeakerGuard::shouldMute(route(RouteKind::headphones, 1),
                                         route(RouteKind::builtInSpeakers, 1), true, true));
}

TEST(SpeakerGuard, LeavesSpeakersThatAreSilentAlready) {
    EXPECT_FALSE(SpeakerGuard::shouldMute(route(RouteKind::headphones, 1),
                                          route(RouteKind::builtInSpeakers, 2, true), false, true));
}

TEST(SpeakerGuard, LeavesEveryOtherChangeOfOutput) {
    for (const auto from : {RouteKind::builtInSpeakers, RouteKind::headphones, RouteKind::other}) {
        for (const auto to :
             {RouteKind::builtInSpeakers, RouteKind::headphones, RouteKind::other}) {
            EXPECT_EQ(SpeakerGuard::shouldMute(route(from, 1), route(to, 2), false, true),
                      from == RouteKind::headphones && to == RouteKind::builtInSpeakers);
        }
    }
}

TEST(SpeakerGuard, LeavesTheFirstAndTheLastOutput) {
    EXPECT_FALSE(
        SpeakerGuard::shouldMute(std::nullopt, route(RouteKind::builtInSpeakers, 1), false, true));
    EXPECT_FALSE(
        SpeakerGuard::shouldMute(route(RouteKind::headphones, 1), std::nullopt, false, true));
}

TEST(OutputRoute, IsTheOutputFieldByField) {
    EXPECT_EQ(outputRoute(std::nullopt), std::nullopt);
    const auto made = outputRoute(OutputDeviceInfo{.objectID = 7,
                                                   .name = "Cans",
                                                   .kind = RouteKind::headphones,
                                                   .volume = 0.5F,
                                                   .isMuted = true});
    EXPECT_EQ(made, (OutputRoute{.id = 7,
                                 .name = "Cans",
                                 .kind = RouteKind::headphones,
                                 .volume = 0.5,
                                 .isMuted = true}));
}

} // namespace
} // namespace velmoran
