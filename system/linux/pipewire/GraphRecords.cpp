#include "system/linux/pipewire/GraphRecords.h"

#include "system/linux/pipewire/SpaDict.h"

#include <spa/utils/string.h>

namespace velmoran {

namespace {

GraphNode::State stateOf(pw_node_state state) {
    switch (state) {
    case PW_NODE_STATE_RUNNING:
        return GraphNode::State::running;
    case PW_NODE_STATE_IDLE:
        return GraphNode::State::idle;
    case PW_NODE_STATE_SUSPENDED:
        return GraphNode::State::suspended;
    case PW_NODE_STATE_CREATING:
        return GraphNode::State::creating;
    case PW_NODE_STATE_ERROR:
        return GraphNode::State::error;
    }
    return GraphNode::State::error;
}

void update(std::string& text, const spa_dict* props, const char* key) {
    if (const auto value = textIn(props, key); value.data() != nullptr) {
        text = value;
    }
}

} // namespace

void update(GraphNode& node, const spa_dict* props) {
    update(node.mediaClass, props, PW_KEY_MEDIA_CLASS);
    update(node.mediaRole, props, PW_KEY_MEDIA_ROLE);
    update(node.description, props, PW_KEY_NODE_DESCRIPTION);
    update(node.name, props, PW_KEY_NODE_NAME);
    update(node.linkGroup, props, PW_KEY_NODE_LINK_GROUP);
}

void update(GraphNode& node, const pw_node_info& info) {
    update(node, info.props);
    // Of a change that left them as they were there are none.
    if ((info.change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0 && info.props != nullptr) {
        node.lingers = spa_atob(spa_dict_lookup(info.props, PW_KEY_OBJECT_LINGER));
    }
    node.state = stateOf(info.state);
}

void update(GraphLink& link, const pw_link_info& info) {
    link.outputNodeID = info.output_node_id;
    link.outputPortID = info.output_port_id;
    link.inputNodeID = info.input_node_id;
    link.state =
        info.state >= PW_LINK_STATE_PAUSED ? GraphLink::State::set : GraphLink::State::unset;
}

} // namespace velmoran
