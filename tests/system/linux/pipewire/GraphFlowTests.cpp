#include "system/linux/pipewire/GraphFlow.h"

#include "system/linux/pipewire/NodeClass.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {
namespace {

enum class Gets { nothing, aGuess, surely };

/// What each vertex gets of what that one gives, worked out edge by edge until nothing changes:
/// whoever passes to a group passes to each of its members.
std::vector<Gets> receivedEdgeByEdge(const GraphVertices& vertices, const GraphGroups& groups,
                                     std::size_t origin) {
    std::vector<Gets> received(vertices.size(), Gets::nothing);
    std::vector<Gets> sent(vertices.size(), Gets::nothing);
    sent[origin] = Gets::surely;
    bool isChanged = true;
    const auto raise = [&](Gets& to, Gets certainty) {
        isChanged = isChanged || certainty > to;
        to = std::max(to, certainty);
    };
    while (std::exchange(isChanged, false)) {
        for (std::size_t index = 0; index < vertices.size(); ++index) {
            const auto& vertex = vertices[index];
            for (const auto other : vertex.feeds) {
                if (!isDevice(*vertices[other].node) || sent[index] != Gets::aGuess) {
                    raise(received[other], sent[index]);
                }
            }
            const bool copies =
                vertex.isRelay || isDevice(*vertex.node) || isOfClass(*vertex.node, "Stream/Input");
            raise(sent[index], copies ? received[index] : std::min(received[index], Gets::aGuess));
            for (const auto group : vertex.passesTo) {
                for (const auto member : groups[group]) {
                    if (member != index) {
                        raise(sent[member], received[index]);
                    }
                }
            }
        }
    }
    return received;
}

RC_GTEST_PROP(GraphFlow, ReachesByGroupsWhatItWouldEdgeByEdge, ()) {
    const std::vector<std::string> classes = {"Audio/Source", "Audio/Sink", "", "",
                                              "Stream/Input/Audio"};
    const auto count = *rc::gen::inRange<std::size_t>(1, 12);
    std::vector<GraphNode> nodes(count);
    GraphVertices vertices(count);
    GraphGroups groups(3);
    const auto anyVertex = rc::gen::inRange<std::size_t>(0, count);
    for (std::size_t index = 0; index < count; ++index) {
        nodes[index].mediaClass = *rc::gen::elementOf(classes);
        vertices[index].node = &nodes[index];
        vertices[index].isRelay = *rc::gen::inRange(0, 4) == 0;
        // The first two pass on among themselves, to the third others pass.
        const auto group = *rc::gen::inRange<std::size_t>(0, 4);
        if (group < 2) {
            vertices[index].passesTo.push_back(group);
        }
        if (group < 3) {
            groups[group].push_back(index);
        }
        if (group != 2 && *rc::gen::inRange(0, 3) == 0) {
            vertices[index].passesTo.push_back(2);
        }
    }
    const auto links = *rc::gen::inRange(0, 16);
    for (int link = 0; link < links; ++link) {
        vertices[*anyVertex].feeds.push_back(*anyVertex);
    }
    const auto origin = *anyVertex;

    GraphFlow flow(vertices, groups);
    flow.spreadFrom(origin);
    const auto expected = receivedEdgeByEdge(vertices, groups, origin);
    for (std::size_t index = 0; index < count; ++index) {
        RC_ASSERT(flow.hasReached(index) == (expected[index] != Gets::nothing));
    }
}

// A microphone feeds all nodes of a relay, which pass to each other and to as many of another.
TEST(GraphFlow, DoesNoMoreForARelayOfAThousandNodesThanThereAreNodesAndLinks) {
    constexpr std::size_t many = 1000;
    std::vector<GraphNode> nodes(2 * many + 1);
    nodes[0].mediaClass = "Audio/Source";
    GraphVertices vertices(nodes.size());
    GraphGroups groups(2);
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        vertices[index].node = &nodes[index];
        vertices[index].isRelay = index != 0;
    }
    for (std::size_t index = 1; index <= many; ++index) {
        vertices[0].feeds.push_back(index);
        vertices[index].passesTo = {0, 1};
        groups[0].push_back(index);
        groups[1].push_back(many + index);
    }
    // What comes out of the first goes into its own last again.
    for (std::size_t index = 1; index < many; ++index) {
        vertices[index].feeds.push_back(many);
        vertices[many + index].feeds.push_back(many + index + 1);
    }
    GraphFlow flow(vertices, groups);
    flow.spreadFrom(0);
    EXPECT_TRUE(flow.hasReached(many));
    EXPECT_FALSE(flow.hasReached(many + 1)) << "it gives, and gets nothing";
    EXPECT_TRUE(flow.hasReached(2 * many));
    EXPECT_GT(flow.work(), many);
    EXPECT_LT(flow.work(), 16 * many);
}

} // namespace
} // namespace velmoran
