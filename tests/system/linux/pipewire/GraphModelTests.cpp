#include "system/linux/pipewire/GraphModel.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

using State = GraphNode::State;

// A graph laid out by hand. Short ids and serials are apart on purpose, so that taking one for the
// other shows.
class Graph {
public:
    static constexpr std::uint32_t serialOffset = 1000;

    GraphModel model;

    std::uint32_t client() {
        const auto id = next_++;
        model.addClient(id, id + serialOffset);
        return id;
    }
    std::uint32_t node(std::optional<std::uint32_t> client, std::string mediaClass,
                       State state = State::running, std::string linkGroup = {}) {
        GraphNode node;
        node.id = next_++;
        node.serial = node.id + serialOffset;
        node.clientID = client;
        node.mediaClass = std::move(mediaClass);
        node.linkGroup = std::move(linkGroup);
        node.state = state;
        model.setNode(node);
        return node.id;
    }
    std::uint32_t camera(std::uint32_t client, std::string role = "Camera") {
        const auto id = node(client, "Video/Source");
        auto node = *model.node(id + serialOffset);
        node.mediaRole = std::move(role);
        node.description = "Front camera";
        model.setNode(node);
        return id;
    }
    void setState(std::uint32_t id, State state) {
        auto node = *model.node(id + serialOffset);
        node.state = state;
        model.setNode(node);
    }
    std::uint32_t link(std::uint32_t from, std::uint32_t to, bool fromMonitor = false,
                       GraphLink::State state = GraphLink::State::set) {
        GraphPort port;
        port.id = next_++;
        port.serial = port.id + serialOffset;
        port.isMonitor = fromMonitor;
        model.setPort(port);
        GraphLink link;
        link.id = next_++;
        link.serial = link.id + serialOffset;
        link.outputNodeID = from;
        link.outputPortID = port.id;
        link.inputNodeID = to;
        link.state = state;
        model.setLink(link);
        return link.id;
    }

    bool hears(std::uint32_t client) { return user(client).microphone; }
    bool plays(std::uint32_t client) { return user(client).speaker; }
    bool sees(std::uint32_t client) {
        const auto& cameras = model.uses().cameras;
        return std::any_of(cameras.begin(), cameras.end(), [&](const auto& camera) {
            return std::any_of(camera.users.begin(), camera.users.end(), [&](const auto& user) {
                return user.client == client + serialOffset;
            });
        });
    }

private:
    GraphUses::User user(std::uint32_t client) {
        for (const auto& user : model.uses().users) {
            if (user.client == client + serialOffset) {
                return user;
            }
        }
        return {};
    }

    std::uint32_t next_ = 10;
};

struct Desktop : Graph {
    std::uint32_t manager = client();
    std::uint32_t app = client();
    std::uint32_t other = client();
    std::uint32_t microphone = node(manager, "Audio/Source");
    std::uint32_t speaker = node(manager, "Audio/Sink");
};

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

TEST(GraphModel, TakesNoSoundFromAMicrophoneThatIsNotRunning) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(graph.microphone, stream);
    graph.setState(graph.microphone, State::suspended);
    EXPECT_FALSE(graph.hears(graph.app));
}

TEST(GraphModel, CountsAVirtualSourceAsAMicrophoneThoughItsPortsAreMonitors) {
    Desktop graph;
    const auto source = graph.node(graph.manager, "Audio/Source/Virtual");
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(source, stream, true);
    EXPECT_TRUE(graph.hears(graph.app));
}

TEST(GraphModel, CountsTheMonitorOfASinkAsNeither) {
    Desktop graph;
    const auto stream = graph.node(graph.app, "Stream/Input/Audio");
    const auto player = graph.node(graph.other, "Stream/Output/Audio");
    graph.link(player, graph.speaker);
    graph.link(graph.speaker, stream, true);
    EXPECT_FALSE(graph.hears(graph.app));
    EXPECT_FALSE(graph.plays(graph.app));
    EXPECT_TRUE(graph.plays(graph.other));
}

TEST(GraphModel, CountsClientsWithoutAClass) {
    Desktop graph;
    const auto filter = graph.node(graph.app, "");
    graph.link(graph.microphone, filter);
    EXPECT_TRUE(graph.hears(graph.app));
    graph.link(filter, graph.speaker);
    EXPECT_TRUE(graph.plays(graph.app));
}

TEST(GraphModel, IsNotDeceivedByTheClassThatARecorderGivesItself) {
    for (const char* mediaClass : {"Audio/Sink", "Audio/Source", "Stream/Output/Audio",
                                   "Video/Source", "Stream/Input/Video", "Midi/Bridge", "x"}) {
        Desktop graph;
        graph.link(graph.microphone, graph.node(graph.app, mediaClass));
        EXPECT_TRUE(graph.hears(graph.app)) << mediaClass;
    }
}

TEST(GraphModel, FollowsTheSoundToWhoeverTapsAnotherAppsStream) {
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

TEST(GraphModel, FollowsTheSoundThroughLoopbacksAndFilters) {
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

TEST(GraphModel, FollowsNoLinkGroupOfAnotherClient) {
    Desktop graph;
    graph.link(graph.microphone, graph.node(graph.app, "Stream/Input/Audio", State::running, "g"));
    graph.link(graph.node(graph.other, "Stream/Output/Audio", State::running, "g"), graph.speaker);
    const auto third = graph.client();
    graph.link(graph.speaker, graph.node(third, "Stream/Input/Audio"), true);
    EXPECT_FALSE(graph.hears(third));
}

TEST(GraphModel, FollowsAMicrophoneThatIsPlayedToASinkToWhoeverRecordsTheSink) {
    Desktop graph;
    const auto sink = graph.node(std::nullopt, "Audio/Sink");
    graph.link(graph.microphone, sink);
    graph.link(sink, graph.node(graph.app, "Stream/Input/Audio"), true);
    EXPECT_TRUE(graph.hears(graph.app));
    EXPECT_EQ(graph.model.uses().users.size(), 1U) << "the sink has no client that could use it";
}

TEST(GraphModel, DoesNotGuessThatAMixersOutputIsTheMicrophone) {
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

TEST(GraphModel, EndsInCircles) {
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

TEST(GraphModel, PlaysThroughTheFilterOfAnother) {
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

TEST(GraphModel, LetsNoRecorderPlayBecauseItIsTapped) {
    Desktop graph;
    const auto recorder = graph.node(graph.app, "Stream/Input/Audio");
    graph.link(graph.microphone, recorder);
    graph.link(recorder, graph.speaker, true);
    EXPECT_FALSE(graph.plays(graph.app));
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
