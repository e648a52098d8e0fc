#include "system/linux/pipewire/GraphFlow.h"

#include "system/linux/pipewire/NodeClass.h"

namespace velmoran {

GraphFlow::GraphFlow(const GraphVertices& vertices, const GraphGroups& groups)
    : vertices_(vertices),
      groups_(groups),
      received_(vertices.size(), Certainty::none),
      sent_(vertices.size(), Certainty::none),
      passed_(groups.size()) {}

void GraphFlow::spreadFrom(std::size_t origin) {
    send(origin, Certainty::sure);
    while (!pending_.empty()) {
        const auto index = pending_.back();
        pending_.pop_back();
        for (const auto other : vertices_[index].feeds) {
            receive(other, sent_[index]);
        }
    }
}

void GraphFlow::send(std::size_t index, Certainty certainty) {
    ++work_;
    if (sent_[index] < certainty) {
        sent_[index] = certainty;
        pending_.push_back(index);
    }
}

void GraphFlow::receive(std::size_t index, Certainty certainty) {
    const auto& vertex = vertices_[index];
    if (received_[index] >= certainty ||
        (isDevice(*vertex.node) && certainty == Certainty::guess)) {
        return;
    }
    received_[index] = certainty;
    // Outputs of a recording stream and of a device are copies of what goes in.
    const bool copies =
        vertex.isRelay || isDevice(*vertex.node) || isOfClass(*vertex.node, "Stream/Input");
    send(index, copies ? certainty : Certainty::guess);
    for (const auto group : vertex.passesTo) {
        pass(group, index, certainty);
    }
}

void GraphFlow::pass(std::size_t group, std::size_t from, Certainty certainty) {
    auto& passed = passed_[group];
    // What is less goes to nobody new: the first has a guess by what it got itself.
    if (certainty < passed.certainty ||
        (certainty == passed.certainty && (passed.isToAll || passed.by == from))) {
        return;
    }
    const bool isToAll = certainty == passed.certainty;
    passed = {certainty, isToAll ? passed.by : from, isToAll};
    for (const auto member : groups_[group]) {
        if (isToAll || member != from) {
            send(member, certainty);
        }
    }
}

std::vector<bool> playing(const GraphVertices& vertices) {
    std::vector<bool> plays(vertices.size(), false);
    std::vector<std::size_t> pending;
    for (std::size_t index = 0; index < vertices.size(); ++index) {
        if (isSpeaker(*vertices[index].node)) {
            pending.push_back(index);
        }
    }
    while (!pending.empty()) {
        const auto index = pending.back();
        pending.pop_back();
        for (const auto other : vertices[index].playedFrom) {
            if (!plays[other] && !isDevice(*vertices[other].node)) {
                plays[other] = true;
                pending.push_back(other);
            }
        }
    }
    return plays;
}

} // namespace velmoran
