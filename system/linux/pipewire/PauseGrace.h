// Lets a stream that pauses count as running for a moment longer, so that a pause of that length is
// none. GStreamer's source starts its stream, pauses it and goes on, all while it starts: one use
// to the person. Pure but for the scheduler. Owned by the graph's reader; the scheduler's thread.
#pragma once

#include "core/base/Scheduler.h"
#include "system/linux/pipewire/GraphModel.h"

#include <functional>
#include <map>
#include <set>
#include <vector>

namespace velmoran {

class PauseGrace {
public:
    /// `over` is called with the nodes whose pause has lasted for `duration`, those that began to
    /// pause in one turn together, some of which may be gone by then. The scheduler outlives this.
    PauseGrace(Scheduler& scheduler, Seconds duration,
               std::function<void(const std::vector<GraphSerial>&)> over);

    /// The state to count a node as having that was told to be in `reported` now, and counted as
    /// having `before`: `pausing` from the end of its running on, until it runs again or `over`
    /// names it. Only what is idle pauses. An error, and a device that was closed, are ends.
    GraphNode::State effectiveState(GraphSerial node, GraphNode::State before,
                                    GraphNode::State reported);
    /// Gives a pause that is over, as `over` is told, its time once more; false if it had that.
    bool prolong(GraphSerial node);
    /// What came at once is over: later pauses have a time of their own.
    void turnEnded() { ++turn_; }
    /// Nothing pauses; `over` isn't called until something does.
    void clear();

private:
    void begin(GraphSerial node);
    void endTurn(unsigned turn);

    Scheduler& scheduler_;
    Seconds duration_;
    std::function<void(const std::vector<GraphSerial>&)> over_;
    unsigned turn_ = 0;
    std::map<GraphSerial, unsigned> pausing_; ///< and the turn in which that began
    std::set<GraphSerial> prolonged_;
    std::map<unsigned, Subscription> timers_; ///< of the turns
};

} // namespace velmoran
