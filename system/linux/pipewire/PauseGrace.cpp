#include "system/linux/pipewire/PauseGrace.h"

#include <utility>

namespace velmoran {

PauseGrace::PauseGrace(Scheduler& scheduler, Seconds duration,
                       std::function<void(const std::vector<GraphSerial>&)> over)
    : scheduler_(scheduler),
      duration_(duration),
      over_(std::move(over)) {}

GraphNode::State PauseGrace::effectiveState(GraphSerial node, GraphNode::State before,
                                            GraphNode::State reported) {
    using State = GraphNode::State;
    if (reported != State::idle) {
        pausing_.erase(node);
        prolonged_.erase(node);
        return reported;
    }
    if (before == State::running && duration_ > 0) {
        begin(node);
    }
    return pausing_.contains(node) ? State::pausing : State::idle;
}

bool PauseGrace::prolong(GraphSerial node) {
    if (!prolonged_.insert(node).second) {
        return false;
    }
    begin(node);
    return true;
}

void PauseGrace::begin(GraphSerial node) {
    pausing_[node] = turn_;
    if (auto& timer = timers_[turn_]; !timer) {
        timer = scheduler_.after(duration_, [this, turn = turn_] { endTurn(turn); });
    }
}

void PauseGrace::endTurn(unsigned turn) {
    std::vector<GraphSerial> ended;
    std::erase_if(pausing_, [&](const auto& each) {
        const bool isOver = each.second == turn;
        if (isOver) {
            ended.push_back(each.first);
        }
        return isOver;
    });
    const auto timer = std::move(timers_.extract(turn).mapped()); // this very call's
    if (!ended.empty()) {
        over_(ended);
    }
    for (const auto node : ended) {
        if (!pausing_.contains(node)) {
            prolonged_.erase(node);
        }
    }
}

void PauseGrace::clear() {
    pausing_.clear();
    prolonged_.clear();
    timers_.clear();
}

} // namespace velmoran
