// How sound and pictures pass through the nodes that run: which nodes the data of some origins
// reaches, and which play to a speaker. Pure; lives for one question to the graph's model.
#pragma once

#include "system/linux/pipewire/GraphModel.h"

#include <cstddef>
#include <vector>

namespace velmoran {

/// One running or pausing node with its links to others of that kind, which go by their places.
struct GraphVertex {
    const GraphNode* node = nullptr;
    GraphSerial client = 0;
    bool isRelay = false;                ///< gives what it gets, whatever its class is
    std::vector<std::size_t> feeds;      ///< whoever gets anything of its output
    std::vector<std::size_t> playedFrom; ///< whoever's own output it gets, not a monitor's copy
    std::vector<std::size_t> passesTo;   ///< what its client may give there of what comes in here
    bool gets = false;                   ///< somebody feeds it
    bool givesOwn = false;               ///< feeds somebody with more than a monitor's copy
    bool isBesideStream = false;         ///< linked with somebody that is no device
};

using GraphVertices = std::vector<GraphVertex>;

/// Everything that the data of some origins reaches. What an app does inside isn't known, so its
/// outputs are taken to carry what its inputs get. Only into a device such a guess isn't followed:
/// else whoever records what a speaker plays would use the microphone of every mixer before it.
class GraphFlow {
public:
    /// The vertices outlive this.
    explicit GraphFlow(const GraphVertices& vertices);

    void spreadFrom(std::size_t origin);
    bool hasReached(std::size_t index) const { return received_[index] != Certainty::none; }

private:
    enum class Certainty { none, guess, sure };

    void send(std::size_t index, Certainty certainty);
    void receive(std::size_t index, Certainty certainty);

    const GraphVertices& vertices_;
    std::vector<Certainty> received_;
    std::vector<Certainty> sent_;
    std::vector<std::size_t> pending_;
};

/// For each vertex whether a speaker plays what it gives.
std::vector<bool> playing(const GraphVertices& vertices);

} // namespace velmoran
