#include "system/linux/pipewire/GraphFlow.h"

#include "system/linux/pipewire/NodeClass.h"

namespace velmoran {

GraphFlow::GraphFlow(const GraphVertices& vertices)
    : vertices_(vertices),
      received_(vertices.size(), Certainty::none),
      sent_(vertices.size(), Certainty::none) {}

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
    for (const auto other : vertex.passesTo) {
        send(other, certainty);
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
