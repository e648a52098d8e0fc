#include "system/linux/pipewire/GraphScene.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using State = GraphNode::State;
using testing::Desktop;
using testing::Graph;

TEST(GraphModelFlow, TakesNoSoundFromAMicrophoneThatIsNotRunning) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(graph.microphone, stream);
    graph.setState(graph.microphone, State::suspended);
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModelFlow, CountsAVirtualSourceAsAMicrophoneThoughItsPortsAreMonitors) {
    Desktop graph;
    const auto source = graph.node(graph.manager, "Audio/Source/Virtual");
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(source, stream, true);
    EXPECT_TRUE(graph.hears(graph.app));
}

TEST(GraphModelFlow, CountsTheMonitorOfASinkAsNeither) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    const auto player = graph.node(graph.other, "Stream/Output/Audio");
    graph.link(player, graph.speaker);
    graph.link(graph.speaker, stream, true);
    EXPECT_FALSE(graph.hears(graph.app));
    EXPECT_FALSE(graph.plays(graph.app));
    EXPECT_TRUE(graph.plays(graph.other));
}

TEST(GraphModelFlow, CountsClientsWithoutAClass) {
    Desktop graph;
    const auto filter = graph.node(graph.app, "");
    graph.link(graph.microphone, filter);
    EXPECT_TRUE(graph.hears(graph.app));
    graph.link(filter, graph.speaker);
    EXPECT_TRUE(graph.plays(graph.app));
}

TEST(GraphModelFlow, IsNotDeceivedByTheClassThatARecorderGivesItself) {
    for (const char* mediaClass : {"Audio/Sink", "Audio/Source", "Stream/Output/Audio",
                                   "Video/Source", "Stream/Input/Video", "Midi/Bridge", "x"}) {
        Desktop graph;
        graph.link(graph.microphone, graph.node(graph.app, mediaClass));
        EXPECT_TRUE(graph.hears(graph.app)) << mediaClass;
    }
}

TEST(GraphModelFlow, FollowsTheSoundToWhoeverTapsAnotherAppsStream) {
    Desktop graph;
    const auto stream = graph.node(graph.other, "Stream/Input/Audio");
    const auto tap = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(stream, tap, true);
    EXPECT_FALSE(graph.hears(graph.app));
    graph.link(graph.microphone, stream);
    EXPECT_TRUE(graph.hears(graph.app));
    EXPECT_TRUE(graph.hears(graph.other));
    EXPECT_FALSE(graph.plays(graph.other));
    graph.setState(stream, State::idle);
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModelFlow, FollowsTheSoundThroughLoopbacksAndFilters) {
    Desktop graph;
    const auto loop = graph.client();
    const auto capture = graph.node(loop, "Stream/Input/Audio", State::running, "loopback-1");
    const auto source = graph.node(loop, "Stream/Output/Audio", State::running, "loopback-1");
    const auto tap = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(source, tap);
    EXPECT_FALSE(graph.hears(graph.app));
    graph.link(graph.microphone, capture);
    EXPECT_TRUE(graph.hears(graph.app));
    EXPECT_TRUE(graph.hears(loop)); // a name that anybody can give himself hides nobody
}

TEST(GraphModelFlow, FollowsNoLinkGroupOfAnotherClient) {
    Desktop graph;
    graph.link(graph.microphone, graph.node(graph.app, "Stream/Input/Audio", State::running, "g"));
    graph.link(graph.node(graph.other, "Stream/Output/Audio", State::running, "g"), graph.speaker);
    const auto third = graph.client();
    graph.link(graph.speaker, graph.node(third, "Stream/Input/Audio"), true);
    EXPECT_FALSE(graph.hears(third));
}

TEST(GraphModelFlow, FollowsARelayWhateverItsNodesSayOfThemselves) {
    for (const char* mediaClass : {"Stream/Input/Audio", "Audio/Sink", "", "x"}) {
        Desktop graph;
        const auto loop = graph.relay();
        const auto sink = graph.node(graph.relay(), "Audio/Sink");
        const auto capture = graph.node(loop, mediaClass, State::running, "in");
        graph.link(graph.node(loop, "Stream/Output/Audio", State::running, "out"), sink);
        graph.link(sink, graph.node(graph.app, "Stream/Input/Audio"), true);
        EXPECT_FALSE(graph.hears(graph.app)) << mediaClass;
        graph.link(graph.microphone, capture);
        EXPECT_TRUE(graph.hears(graph.app)) << mediaClass;
        EXPECT_TRUE(graph.hears(loop)) << mediaClass;
    }
}

TEST(GraphModelFlow, FollowsOneRelayIntoAnother) {
    Desktop graph;
    auto next = graph.microphone;
    for (int number = 0; number < 3; ++number) {
        const auto loop = graph.relay();
        const auto sink = graph.node(std::nullopt, "Audio/Sink");
        graph.link(next, graph.node(loop, "Stream/Input/Audio", State::running, "in"));
        graph.link(graph.node(loop, "Stream/Output/Audio", State::running, "out"), sink);
        next = sink;
    }
    graph.link(next, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_TRUE(graph.hears(graph.app));
}

TEST(GraphModelFlow, TakesWhatLeavesTheGraphByARelayToComeBackByAnother) {
    Desktop graph;
    const auto sender = graph.relay();
    const auto receiver = graph.relay();
    graph.link(graph.microphone, graph.node(sender, "Stream/Input/Audio"));
    const auto output = graph.node(receiver, "Stream/Output/Audio");
    graph.link(output, graph.speaker);
    graph.link(graph.speaker, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_TRUE(graph.hears(graph.app));
    // One that passes on within the graph sends nothing out of it.
    graph.link(graph.node(sender, "Stream/Output/Audio"), graph.node(std::nullopt, "Audio/Sink"));
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModelFlow, FollowsARelayOfAThousandNodesIntoAnother) {
    Desktop graph;
    const auto sender = graph.relay();
    const auto receiver = graph.relay();
    const auto input = graph.node(sender, "Stream/Input/Audio");
    const auto output = graph.node(receiver, "Stream/Output/Audio");
    for (int number = 0; number < 1000; ++number) {
        graph.node(sender, "Stream/Input/Audio");
        graph.node(receiver, "Stream/Output/Audio");
    }
    const auto sink = graph.node(std::nullopt, "Audio/Sink");
    graph.link(output, sink);
    graph.link(sink, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_FALSE(graph.hears(graph.app));
    graph.link(graph.microphone, input);
    EXPECT_TRUE(graph.hears(graph.app));
}

TEST(GraphModelFlow, LeavesASinkOfARelayAloneThatNobodyPlaysTo) {
    Desktop graph;
    graph.link(graph.microphone, graph.node(graph.relay(), "Stream/Input/Audio"));
    const auto idle = graph.node(graph.relay(), "Audio/Sink");
    graph.link(idle, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModelFlow, KeepsTheRelaysOfOneServerApart) {
    Desktop graph;
    const auto loop = graph.relay();
    graph.link(graph.microphone, graph.node(loop, "Stream/Input/Audio"));
    graph.link(graph.node(loop, "Stream/Output/Audio"), graph.speaker);
    const auto music = graph.relay();
    const auto mix = graph.node(std::nullopt, "Audio/Sink");
    const auto front = graph.node(music, "Audio/Sink");
    graph.link(graph.node(graph.other, "Stream/Output/Audio"), front);
    graph.link(graph.node(music, "Stream/Output/Audio"), mix);
    graph.link(mix, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_FALSE(graph.hears(graph.app));
    EXPECT_TRUE(graph.hears(loop));
}

TEST(GraphModelFlow, ForgetsARelayWithItsClient) {
    Desktop graph;
    const auto loop = graph.relay();
    graph.link(graph.microphone, graph.node(loop, "Stream/Input/Audio"));
    graph.link(graph.node(loop, "Stream/Output/Audio"), graph.speaker);
    graph.link(graph.speaker, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_TRUE(graph.hears(graph.app));
    graph.model.remove(loop);
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModelFlow, FollowsAMicrophoneThatIsPlayedToASinkToWhoeverRecordsTheSink) {
    Desktop graph;
    const auto sink = graph.node(std::nullopt, "Audio/Sink");
    graph.link(graph.microphone, sink);
    graph.link(sink, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_TRUE(graph.hears(graph.app));
    EXPECT_EQ(graph.model.uses().users.size(), 1U) << "the sink has no client that could use it";
}

TEST(GraphModelFlow, DoesNotGuessThatAMixersOutputIsTheMicrophone) {
    Desktop graph;
    const auto mixer = graph.node(graph.other, "");
    graph.link(graph.microphone, mixer);
    graph.link(mixer, graph.speaker);
    graph.link(graph.speaker, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_FALSE(graph.hears(graph.app));
    const auto third = graph.client();
    graph.link(mixer, graph.node(third, ""));
    EXPECT_TRUE(graph.hears(third)) << "whoever listens to the mixer itself may hear it";
}

TEST(GraphModelFlow, EndsInCircles) {
    Desktop graph;
    const auto one = graph.node(graph.app, "");
    const auto two = graph.node(graph.other, "");
    graph.link(graph.microphone, one);
    graph.link(one, two);
    graph.link(two, one);
    graph.link(two, two);
    graph.link(two, graph.speaker);
    EXPECT_TRUE(graph.hears(graph.app));
    EXPECT_TRUE(graph.hears(graph.other));
    EXPECT_TRUE(graph.plays(graph.app));
}

TEST(GraphModelFlow, PlaysThroughTheFilterOfAnother) {
    Desktop graph;
    const auto player = graph.node(graph.app, "Stream/Output/Audio");
    const auto filter = graph.node(graph.other, "");
    graph.link(player, filter);
    EXPECT_FALSE(graph.plays(graph.app));
    graph.link(filter, graph.speaker);
    EXPECT_TRUE(graph.plays(graph.app));
    graph.setState(player, State::idle);
    EXPECT_FALSE(graph.plays(graph.app));
}

TEST(GraphModelFlow, LetsNoRecorderPlayBecauseItIsTapped) {
    Desktop graph;
    const auto recorder = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(graph.microphone, recorder);
    graph.link(recorder, graph.speaker, true);
    EXPECT_FALSE(graph.plays(graph.app));
}

} // namespace
} // namespace velmoran
