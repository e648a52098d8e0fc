#include "system/linux/pipewire/GraphScene.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

using State = GraphNode::State;
using testing::Desktop;
using testing::Graph;

TEST(GraphModel, TellsARunningStreamThatAMicrophoneFeeds) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(graph.microphone, stream);
    EXPECT_TRUE(graph.hears(graph.app));
    EXPECT_FALSE(graph.plays(graph.app));
    EXPECT_FALSE(graph.hears(graph.manager));
    ASSERT_EQ(graph.model.uses().users.size(), 1U);
    EXPECT_EQ(graph.model.uses().users[0].node, stream + Graph::serialOffset);
}

TEST(GraphModel, TellsNothingOfALinkedStreamThatIsNotRunning) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio", State::suspended);
    graph.link(graph.microphone, stream);
    for (const auto state : {State::suspended, State::idle, State::creating, State::error}) {
        graph.setState(stream, state);
        EXPECT_FALSE(graph.hears(graph.app));
    }
    graph.setState(stream, State::running);
    EXPECT_TRUE(graph.hears(graph.app));
    graph.setState(stream, State::idle);
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModel, CountsWhoPausesForAMomentAsRunning) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    const auto link = graph.link(graph.microphone, stream);
    const auto camera = graph.camera(graph.manager);
    const auto viewer = graph.node(graph.other, "Stream/Input/Video");
    graph.link(camera, viewer);
    graph.link(graph.node(graph.app, "Stream/Output/Audio"), graph.speaker);
    const auto before = graph.model.uses();
    for (const auto node : {stream, graph.microphone, viewer, camera, graph.speaker}) {
        graph.setState(node, State::pausing);
        EXPECT_EQ(graph.model.uses(), before);
    }
    graph.model.remove(link);
    EXPECT_FALSE(graph.hears(graph.app)) << "it pauses, but nothing would feed it";
    EXPECT_TRUE(graph.plays(graph.app));
    graph.model.remove(viewer);
    EXPECT_FALSE(graph.sees(graph.other));
    EXPECT_FALSE(graph.model.uses().cameras[0].isRunning);
}

TEST(GraphModel, EndsADeviceThatPausesWithTheLastStreamBesideIt) {
    Desktop graph;
    const auto one = graph.node(graph.app, "Stream/Input/Audio", State::pausing);
    const auto other = graph.node(graph.other, "Stream/Input/Audio");
    graph.link(graph.microphone, one);
    graph.link(graph.microphone, other);
    graph.setState(graph.microphone, State::pausing);
    const auto isRunning = [&] {
        return graph.model.uses().audioDevices[0].isRunning;
    };
    EXPECT_TRUE(isRunning());
    graph.setState(other, State::idle);
    EXPECT_TRUE(isRunning());
    graph.model.remove(one);
    EXPECT_FALSE(isRunning());
    graph.setState(graph.microphone, State::running);
    EXPECT_TRUE(isRunning()) << "as the server says";
}

TEST(GraphModel, KnowsTheDeviceThatARunningStreamIsLinkedTo) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    EXPECT_FALSE(graph.model.isDeviceOfRunning(graph.microphone + Graph::serialOffset))
        << "nobody is linked to it";
    const auto link = graph.link(graph.microphone, stream);
    graph.setState(graph.microphone, State::pausing);
    graph.model.uses();
    EXPECT_TRUE(graph.model.isDeviceOfRunning(graph.microphone + Graph::serialOffset));
    EXPECT_FALSE(graph.model.isDeviceOfRunning(stream + Graph::serialOffset)) << "it is no device";
    graph.setState(stream, State::pausing);
    EXPECT_FALSE(graph.model.isDeviceOfRunning(graph.microphone + Graph::serialOffset));
    graph.setState(stream, State::running);
    graph.model.remove(link);
    EXPECT_FALSE(graph.model.isDeviceOfRunning(graph.microphone + Graph::serialOffset));
}

TEST(GraphModel, TellsNothingOfARunningStreamThatNothingFeeds) {
    Desktop graph;
    graph.node(graph.app, "Stream/Input/Audio");
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModel, WaitsForALinkToBeMade) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    const auto id = graph.link(graph.microphone, stream, false, GraphLink::State::unset);
    EXPECT_FALSE(graph.hears(graph.app));
    GraphLink link;
    link.id = id;
    link.serial = id + Graph::serialOffset;
    link.outputNodeID = graph.microphone;
    link.inputNodeID = stream;
    link.state = GraphLink::State::set;
    graph.model.setLink(link);
    EXPECT_TRUE(graph.hears(graph.app));
}

TEST(GraphModel, NamesCamerasAndWhoSeesThem) {
    Desktop graph;
    const auto camera = graph.camera(graph.manager);
    EXPECT_FALSE(graph.model.uses().cameras.at(0).isRunning) << "nobody looks";
    const auto stream = graph.node(graph.app, "Stream/Input/Video");
    graph.link(camera, stream);
    const auto cameras = graph.model.uses().cameras;
    ASSERT_EQ(cameras.size(), 1U);
    EXPECT_EQ(cameras[0].name, "Front camera");
    EXPECT_TRUE(cameras[0].isRunning);
    EXPECT_TRUE(graph.sees(graph.app));
    EXPECT_FALSE(graph.hears(graph.app));
    graph.setState(stream, State::suspended);
    EXPECT_FALSE(graph.model.uses().cameras.at(0).isRunning);
}

TEST(GraphModel, CountsNoScreenCastAsACamera) {
    Desktop graph;
    const auto screen = graph.camera(graph.manager, "");
    graph.link(screen, graph.node(graph.app, "Stream/Input/Video"));
    EXPECT_TRUE(graph.model.uses().cameras.empty());
}

TEST(GraphModel, KeepsEachCamerasUsersApartInTheOrderOfOpening) {
    Desktop graph;
    const auto front = graph.camera(graph.manager);
    const auto back = graph.camera(graph.manager);
    const auto late = graph.client();
    graph.link(front, graph.node(late, "Stream/Input/Video"));
    graph.link(front, graph.node(graph.app, "Stream/Input/Video"));
    graph.link(back, graph.node(graph.other, "Stream/Input/Video"));
    const auto& cameras = graph.model.uses().cameras;
    ASSERT_EQ(cameras.size(), 2U);
    ASSERT_EQ(cameras[0].users.size(), 2U);
    EXPECT_EQ(cameras[0].users[0].client, late + Graph::serialOffset);
    EXPECT_EQ(cameras[0].users[1].client, graph.app + Graph::serialOffset);
    ASSERT_EQ(cameras[1].users.size(), 1U);
    EXPECT_EQ(cameras[1].users[0].client, graph.other + Graph::serialOffset);
}

TEST(GraphModel, CountsAClientOnceForAllItsStreams) {
    Desktop graph;
    graph.link(graph.microphone, graph.node(graph.app, "Stream/Input/Audio"));
    graph.link(graph.microphone, graph.node(graph.app, "Stream/Input/Audio"));
    graph.link(graph.node(graph.app, "Stream/Output/Audio"), graph.speaker);
    ASSERT_EQ(graph.model.uses().users.size(), 1U);
    EXPECT_TRUE(graph.hears(graph.app));
    EXPECT_TRUE(graph.plays(graph.app));
}

TEST(GraphModel, TellsAStreamWhoseClientIsUnknown) {
    Desktop graph;
    graph.link(graph.microphone, graph.node(std::nullopt, "Stream/Input/Audio"));
    graph.link(graph.microphone, graph.node(9999, "Stream/Input/Audio"));
    const auto& users = graph.model.uses().users;
    ASSERT_EQ(users.size(), 2U);
    EXPECT_EQ(users[0].client, 0U);
    EXPECT_NE(users[0].node, users[1].node);
}

TEST(GraphModel, ListsMicrophonesAndSpeakersAsDevices) {
    Desktop graph;
    graph.setState(graph.microphone, State::suspended);
    const auto& devices = graph.model.uses().audioDevices;
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_TRUE(devices[0].hasInput);
    EXPECT_FALSE(devices[0].hasOutput);
    EXPECT_FALSE(devices[0].isRunning);
    EXPECT_TRUE(devices[1].hasOutput);
    EXPECT_TRUE(devices[1].isRunning);
}

TEST(GraphModel, KeepsALinkToTheNodesItWasMadeBetween) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(graph.microphone, stream);
    EXPECT_TRUE(graph.hears(graph.app));
    graph.model.remove(stream);
    EXPECT_FALSE(graph.hears(graph.app));
    GraphNode reused;
    reused.id = stream;
    reused.serial = 5000;
    reused.clientID = graph.other;
    reused.state = State::running;
    graph.model.setNode(reused);
    EXPECT_FALSE(graph.hears(graph.other)) << "the number was given out again";
}

TEST(GraphModel, AcceptsALinkThatIsAnnouncedBeforeItsNodes) {
    Desktop graph;
    GraphLink link;
    link.id = 700;
    link.serial = 1700;
    link.outputNodeID = graph.microphone;
    link.inputNodeID = 701;
    link.state = GraphLink::State::set;
    graph.model.setLink(link);
    EXPECT_FALSE(graph.hears(graph.app));
    GraphNode node;
    node.id = 701;
    node.serial = 1701;
    node.clientID = graph.app;
    node.state = State::running;
    graph.model.setNode(node);
    EXPECT_TRUE(graph.hears(graph.app));
}

/// A node that outlives its maker, so that the number of its client is its maker's own word.
std::uint32_t lingeringNode(Graph& graph, std::uint32_t claimed, const std::string& mediaClass) {
    const auto id = graph.node(claimed, mediaClass);
    auto node = *graph.model.node(id + Graph::serialOffset);
    node.lingers = true;
    graph.model.setNode(node);
    return id;
}

TEST(GraphModel, BlamesNobodyByTheNumberOnANodeThatLingers) {
    for (const char* mediaClass : {"Stream/Input/Audio", "Audio/Sink", ""}) {
        Desktop graph;
        const auto node = lingeringNode(graph, graph.app, mediaClass);
        graph.link(graph.microphone, node);
        EXPECT_FALSE(graph.hears(graph.app)) << mediaClass;
        const auto& users = graph.model.uses().users;
        ASSERT_EQ(users.size(), 1U) << mediaClass << ": but somebody does";
        EXPECT_EQ(users[0].client, 0U);
        EXPECT_TRUE(users[0].microphone);
    }
}

TEST(GraphModel, LeadsNoSoundIntoTheGroupOfAnotherByANodeThatLingers) {
    Desktop graph;
    const auto innocent = graph.node(graph.app, "Stream/Output/Audio", State::running, "group");
    graph.link(innocent, graph.speaker);
    const auto id = graph.node(graph.app, "Stream/Input/Audio", State::running, "group");
    auto node = *graph.model.node(id + Graph::serialOffset);
    node.lingers = true;
    graph.model.setNode(node);
    graph.link(graph.microphone, id);
    EXPECT_FALSE(graph.hears(graph.app));
    EXPECT_TRUE(graph.plays(graph.app));
}

TEST(GraphModel, CountsNoDeviceThatLingersWithoutANumber) {
    Desktop graph;
    const auto id = graph.node(std::nullopt, "Audio/Sink");
    auto node = *graph.model.node(id + Graph::serialOffset);
    node.lingers = true;
    graph.model.setNode(node);
    graph.link(graph.microphone, id);
    EXPECT_TRUE(graph.model.uses().users.empty()) << "whoever listens to it is the user";
    const auto listener = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(id, listener, true);
    EXPECT_TRUE(graph.hears(graph.app));
}

TEST(GraphModel, BlamesNobodyWhoGotTheNumberOfAnother) {
    Desktop graph;
    const auto node = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(graph.microphone, node);
    EXPECT_TRUE(graph.hears(graph.app));
    graph.model.remove(graph.app);
    graph.model.addClient(graph.app, 5000);
    ASSERT_EQ(graph.model.uses().users.size(), 1U);
    EXPECT_EQ(graph.model.uses().users[0].client, 0U);
}

TEST(GraphModel, ForgetsEverythingWhenCleared) {
    Desktop graph;
    graph.link(graph.microphone, graph.node(graph.app, "Stream/Input/Audio"));
    EXPECT_NE(graph.model.uses(), GraphUses{});
    graph.model.clear();
    EXPECT_EQ(graph.model.uses(), GraphUses{});
    EXPECT_EQ(graph.model.size(), 0U);
}

// What was fed step by step, with detours, gives the same uses as what is left, fed at once.
RC_GTEST_PROP(GraphModel, DependsOnWhatThereIsAndNotOnHowItCame, ()) {
    const std::vector<std::string> classes = {
        "Audio/Source", "Audio/Sink", "Video/Source", "", "Stream/Input/Audio", "Audio/Duplex"};
    const std::vector<std::string> groups = {"", "", "a", "b"};
    GraphModel model;
    std::vector<GraphNode> nodes;
    std::vector<GraphLink> links;
    const auto count = *rc::gen::inRange<std::uint32_t>(1, 9);
    for (std::uint32_t client = 1; client <= 3; ++client) {
        model.addClient(client, client);
    }
    model.markRelay(3);
    for (std::uint32_t index = 0; index < count; ++index) {
        GraphNode node;
        node.id = 100 + index;
        node.serial = node.id;
        node.clientID = *rc::gen::inRange<std::uint32_t>(1, 5);
        node.mediaClass = *rc::gen::elementOf(classes);
        node.mediaRole = "Camera";
        node.linkGroup = *rc::gen::elementOf(groups);
        auto earlier = node;
        earlier.state = *rc::gen::element(State::idle, State::running, State::error);
        node.state = *rc::gen::element(State::running, State::running, State::running, State::idle);
        model.setNode(earlier);
        model.uses();
        model.setNode(node);
        nodes.push_back(node);
    }
    const auto wanted = *rc::gen::inRange<std::uint32_t>(0, 20);
    for (std::uint32_t index = 0; index < wanted; ++index) {
        GraphLink link;
        link.id = 200 + index;
        link.serial = link.id;
        link.outputNodeID = 100 + *rc::gen::inRange<std::uint32_t>(0, count);
        link.inputNodeID = 100 + *rc::gen::inRange<std::uint32_t>(0, count);
        link.state = GraphLink::State::set;
        model.setLink(link);
        model.uses();
        if (*rc::gen::inRange(0, 4) == 0) {
            model.remove(link.id);
        } else {
            links.push_back(link);
        }
    }
    GraphModel fresh;
    fresh.markRelay(3);
    std::reverse(nodes.begin(), nodes.end());
    std::reverse(links.begin(), links.end());
    for (const auto& link : links) {
        fresh.setLink(link);
    }
    for (const auto& node : nodes) {
        fresh.setNode(node);
    }
    for (std::uint32_t client = 1; client <= 3; ++client) {
        fresh.addClient(client, client);
    }
    RC_ASSERT(model.uses() == fresh.uses());

    for (const auto& user : model.uses().users) {
        RC_ASSERT(model.node(user.node) != nullptr);
        RC_ASSERT(model.node(user.node)->state == State::running);
        RC_ASSERT(user.microphone || user.speaker);
    }
}

} // namespace
} // namespace velmoran
