#include "system/linux/pipewire/GraphRecords.h"

#include <gtest/gtest.h>
#include <pipewire/pipewire.h>

namespace velmoran {
namespace {

/// What a server says of a node.
struct NodeSaying {
    spa_dict_item items[2] = {{PW_KEY_OBJECT_LINGER, "true"}, {PW_KEY_NODE_NAME, "spy"}};
    spa_dict all{.flags = 0, .n_items = 2, .items = items};
    spa_dict none{.flags = 0, .n_items = 0, .items = nullptr};
    pw_node_info info{};

    GraphNode appliedTo(GraphNode node) const {
        update(node, info);
        return node;
    }
};

TEST(GraphRecords, KeepWhatAChangeOfStateDoesNotSayAgain) {
    NodeSaying saying;
    saying.info.change_mask = PW_NODE_CHANGE_MASK_ALL;
    saying.info.props = &saying.all;
    saying.info.state = PW_NODE_STATE_IDLE;
    auto node = saying.appliedTo({});
    EXPECT_TRUE(node.lingers);
    EXPECT_EQ(node.name, "spy");
    // The library hands over an empty list then, not none.
    saying.info.change_mask = PW_NODE_CHANGE_MASK_STATE;
    saying.info.props = &saying.none;
    saying.info.state = PW_NODE_STATE_RUNNING;
    node = saying.appliedTo(node);
    EXPECT_TRUE(node.lingers);
    EXPECT_EQ(node.name, "spy");
    EXPECT_EQ(node.state, GraphNode::State::running);
}

TEST(GraphRecords, TakeBackThatANodeLingers) {
    NodeSaying saying;
    saying.info.change_mask = PW_NODE_CHANGE_MASK_PROPS;
    saying.info.props = &saying.none;
    GraphNode node;
    node.lingers = true;
    EXPECT_FALSE(saying.appliedTo(node).lingers);
}

} // namespace
} // namespace velmoran
