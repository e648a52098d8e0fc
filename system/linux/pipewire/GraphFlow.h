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
    std::vector<std::size_t> passesTo;   ///< groups that may give what comes in here
    bool gets = false;                   ///< somebody feeds it
    bool givesOwn = false;               ///< feeds somebody with more than a monitor's copy
    bool isBesideStream = false;         ///< linked with somebody that is no device
};

using GraphVertices = std::vector<GraphVertex>;

/// Who gives, each by its place, what any vertex gets that passes to the group. None passes to
/// itself.
using GraphGroup = std::vector<std::size_t>;
using GraphGroups = std::vector<GraphGroup>;

/// Everything that the data of some origins reaches. What an app does inside isn't known, so its
/// outputs are taken to carry what its inputs get. Only into a device such a guess isn't followed:
/// else whoever records what a speaker plays would use the microphone of every mixer before it.
class GraphFlow {
public:
    /// Both outlive this.
    GraphFlow(const GraphVertices& vertices, const GraphGroups& groups);

    void spreadFrom(std::size_t origin);
    bool hasReached(std::size_t index) const { return received_[index] != Certainty::none; }
    /// How often a vertex was told to give something. Grows with the links and the members of the
    /// groups, however many pass to one.
    std::size_t work() const { return work_; }

private:
    enum class Certainty { none, guess, sure };
    /// The best that has come to a group, and who passed it first.
    struct Passed {
        Certainty certainty = Certainty::none;
        std::size_t by = 0;
        bool isToAll = false; ///< another passed as much, so that the first has it too
    };

    void send(std::size_t index, Certainty certainty);
    void receive(std::size_t index, Certainty certainty);
    void pass(std::size_t group, std::size_t from, Certainty certainty);

    const GraphVertices& vertices_;
    const GraphGroups& groups_;
    std::vector<Certainty> received_;
    std::vector<Certainty> sent_;
    std::vector<Passed> passed_; ///< by group
    std::vector<std::size_t> pending_;
    std::size_t work_ = 0;
};

/// For each vertex whether a speaker plays what it gives.
std::vector<bool> playing(const GraphVertices& vertices);

} // namespace velmoran
