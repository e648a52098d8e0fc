#include "app/contents/SpeakerContent.h"

#include "support/Samples.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const Timestamp soundStart{1000};

UsageSession soundOf(const std::string& name) {
    auto session = sessionOf(app(name), Device::speaker, soundStart);
    session.app.name = name;
    return session;
}

OutputRoute routeOf(OutputRoute::Kind kind, std::optional<double> volume = {},
                    bool isMuted = false) {
    return {.id = 1, .name = "Desk", .kind = kind, .volume = volume, .isMuted = isMuted};
}

TEST(SpeakerContent, SaysThePlaceWhileNobodyPlays) {
    EXPECT_EQ(SpeakerContent::of({}, {}).line, "No output device");
    EXPECT_EQ(SpeakerContent::of(routeOf(OutputRoute::Kind::builtInSpeakers), {}).line,
              "Built-in speakers");
    EXPECT_EQ(SpeakerContent::of(routeOf(OutputRoute::Kind::headphones), {}).line, "Headphones");
    EXPECT_EQ(SpeakerContent::of(routeOf(OutputRoute::Kind::other), {}).line, "Desk");
    EXPECT_FALSE(SpeakerContent::of({}, {}).isInUse);
    EXPECT_EQ(SpeakerContent::of({}, {}).title, "Speaker");
}

TEST(SpeakerContent, SaysWhoHasSoundOpen) {
    const auto line = [](const std::vector<UsageSession>& sessions) {
        const auto content =
            SpeakerContent::of(routeOf(OutputRoute::Kind::builtInSpeakers), sessions);
        EXPECT_TRUE(content.isInUse);
        return content.line;
    };
    EXPECT_EQ(line({soundOf("Spotify")}), "Built-in speakers · Spotify has sound open");
    EXPECT_EQ(line({soundOf("Spotify"), soundOf("Firefox")}),
              "Built-in speakers · Spotify and Firefox have sound open");
    EXPECT_EQ(line({soundOf("Spotify"), soundOf("Firefox"), soundOf("Zoom")}),
              "Built-in speakers · Spotify, Firefox, and Zoom have sound open");
}

TEST(SpeakerContent, NoNameWritesALineOfItsOwn) {
    auto desk = routeOf(OutputRoute::Kind::other);
    desk.name = "De\nsk";
    EXPECT_EQ(SpeakerContent::of(desk, {soundOf("Spo\ntify")}).line,
              "De sk · Spo tify has sound open");
}

TEST(SpeakerContent, SaysHowLoudItIsWhereThatIsKnown) {
    const auto state = [](const std::optional<OutputRoute>& routeOf) {
        return SpeakerContent::of(routeOf, {}).state;
    };
    using Kind = OutputRoute::Kind;
    EXPECT_EQ(state({}), "");
    EXPECT_EQ(state(routeOf(Kind::other)), "");
    EXPECT_EQ(state(routeOf(Kind::other, 0.454)), "45%");
    EXPECT_EQ(state(routeOf(Kind::other, 0.455)), "46%");
    EXPECT_EQ(state(routeOf(Kind::other, 0.0)), "0%");
    EXPECT_EQ(state(routeOf(Kind::other, 1.0)), "100%");
    EXPECT_EQ(state(routeOf(Kind::other, 0.5, true)), "Muted");
    EXPECT_EQ(state(routeOf(Kind::other, {}, true)), "Muted");
}

TEST(SpeakerContent, IsCrossedWhereItIsMuted) {
    EXPECT_EQ(SpeakerContent::of({}, {}).symbol, "speaker.wave.2.fill");
    EXPECT_EQ(SpeakerContent::of(routeOf(OutputRoute::Kind::other), {}).symbol,
              "speaker.wave.2.fill");
    EXPECT_EQ(SpeakerContent::of(routeOf(OutputRoute::Kind::other, {}, true), {}).symbol,
              "speaker.slash.fill");
}

} // namespace
} // namespace velmoran
