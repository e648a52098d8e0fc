#include "system/linux/pipewire/PausePatience.h"

#include <utility>

namespace velmoran {

PausePatience::PausePatience(Scheduler& scheduler, Seconds duration,
                             std::function<void(const std::vector<GraphSerial>&)> over)
    : scheduler_(scheduler),
      duration_(duration),
      over_(std::move(over)) {}

GraphNode::State PausePatience::counted(GraphSerial node, GraphNode::State before,
                                        GraphNode::State told) {
    using State = GraphNode::State;
    if (told != State::idle) {
        pausing_.erase(node);
        prolonged_.erase(node);
        return told;
    }
    if (before == State::running && duration_ > 0) {
        begin(node);
    }
    return pausing_.contains(node) ? State::pausing : State::idle;
}

bool PausePatience::prolong(GraphSerial node) {
    if (!prolonged_.insert(node).second) {
        return false;
    }
    begin(node);
    return true;
}

void PausePatience::begin(GraphSerial node) {
    pausing_[node] = turn_;
    if (auto& timer = timers_[turn_]; !timer) {
        timer = scheduler_.after(duration_, [this, turn = turn_] { endTurn(turn); });
    }
}

void PausePatience::endTurn(unsigned turn) {
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

void PausePatience::clear() {
    pausing_.clear();
    prolonged_.clear();
    timers_.clear();
}

} // namespace velmoran
