#include "system/linux/HeldNodes.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace velmoran {

namespace {

// From one look at an undecided open to the next: close together at first, when a program that
// means to stream asks for its buffers.
constexpr std::array<Seconds, 7> steps{0.010, 0.015, 0.025, 0.050, 0.100, 0.200, 0.200};
// How often it is made sure that a holder still is one: a descriptor can be handed to another
// process, of which no event tells.
constexpr Seconds heartbeat = 2.0;

std::size_t descriptorsOf(const std::vector<NodeHolder>& holders) {
    std::size_t count = 0;
    for (const auto& holder : holders) {
        count += holder.descriptors.size();
    }
    return count;
}

} // namespace

HeldNodes::HeldNodes(NodeHolders holders, Seams seams)
    : holders_(std::move(holders)),
      seams_(std::move(seams)) {}

void HeldNodes::setNodes(std::vector<DeviceNode> nodes) {
    std::vector<Node> kept;
    bool isNew = false;
    for (auto& node : nodes) {
        const auto known = std::find_if(nodes_.begin(), nodes_.end(),
                                        [&](const Node& other) { return other.node == node; });
        if (known != nodes_.end()) {
            kept.push_back(std::move(*known));
            nodes_.erase(known);
        } else {
            kept.emplace_back();
            kept.back().node = std::move(node);
            isNew = true;
        }
    }
    nodes_ = std::move(kept);
    if (isNew) {
        step_ = 0;
        look({});
    }
    // Whoever has one open as this program starts most likely had it long before.
    if (!std::exchange(started_, true)) {
        for (auto& node : nodes_) {
            for (auto& hold : node.holds) {
                hold.counts = !hold.serves;
            }
        }
    }
    settle();
}

void HeldNodes::take(const std::vector<NodeEvents>& events) {
    step_ = 0;
    look(events);
}

void HeldNodes::takeLoss() {
    for (auto& node : nodes_) {
        node.hidden = 0;
    }
    take({});
}

std::optional<std::vector<std::string>> HeldNodes::users(const std::string& path) const {
    const auto found = users_.find(path);
    return found == users_.end() ? std::nullopt : std::optional(found->second);
}

void HeldNodes::look(const std::vector<NodeEvents>& events) {
    std::vector<DeviceNode> nodes;
    for (const auto& node : nodes_) {
        nodes.push_back(node.node);
    }
    const auto found = holders_.of(nodes);
    for (std::size_t index = 0; index < nodes_.size(); ++index) {
        const auto& path = nodes_[index].node.path;
        const auto event = std::find_if(events.begin(), events.end(),
                                        [&](const NodeEvents& one) { return one.path == path; });
        const bool used = event != events.end();
        compare(nodes_[index], found[index], used ? event->opens : 0, used ? event->closes : 0);
    }
    settle();
}

void HeldNodes::compare(Node& node, const std::vector<NodeHolder>& found, int opens, int closes) {
    std::size_t before = 0;
    std::erase_if(node.holds, [&](Hold& hold) {
        before += hold.holder.descriptors.size();
        const auto same = std::find_if(found.begin(), found.end(), [&](const NodeHolder& holder) {
            return holder.pid == hold.holder.pid;
        });
        if (same != found.end()) {
            hold.holder = *same;
            return false;
        }
        // A mapping keeps the node open after its descriptor is closed.
        hold.holder.descriptors.clear();
        return !hold.holder.maps || !holders_.maps(hold.holder.pid, node.node);
    });
    const auto firstNew = node.holds.size();
    for (auto holder = found.rbegin(); holder != found.rend(); ++holder) {
        const auto known = std::any_of(node.holds.begin(), node.holds.end(), [&](const Hold& hold) {
            return hold.holder.pid == holder->pid;
        });
        if (known) {
            continue;
        }
        Hold hold;
        hold.holder = *holder;
        hold.serves = seams_.servesOthers(holder->pid);
        if (!hold.serves) {
            hold.app = seams_.naming.identify(holder->pid).id();
            hold.grace = seams_.scheduler.after(
                grace, [this, path = node.node.path, pid = holder->pid] { graceEnded(path, pid); });
        }
        node.holds.push_back(std::move(hold));
    }
    // Only newcomers stand in the order of process ids; the rest keeps its order of opening.
    std::stable_sort(
        std::next(node.holds.begin(), static_cast<std::ptrdiff_t>(firstNew)), node.holds.end(),
        [](const Hold& one, const Hold& other) { return one.holder.pid < other.holder.pid; });
    for (auto& hold : node.holds) {
        hold.counts = hold.counts || (!hold.serves && hold.holder.maps);
    }

    // The look is later than the events that led to it, so it may have seen what is only told with
    // the next ones: those have been counted by then.
    if (opens > 0 || closes > 0) {
        opens -= std::min(opens, std::exchange(node.opensAhead, 0));
        closes -= std::min(closes, std::exchange(node.closesAhead, 0));
    }
    // More descriptors gone than closes told means that there were as many closes, whether those
    // are still to be told or were merged.
    const int change = static_cast<int>(descriptorsOf(found)) - static_cast<int>(before);
    if (closes < -change) {
        node.closesAhead += -change - closes;
        closes = -change;
    }
    node.hidden += opens - closes - change;
    if (node.hidden < 0) {
        node.opensAhead -= node.hidden;
        node.hidden = 0;
    }
    if (node.hidden == 0) {
        node.hiddenCounts = false;
        node.hiddenGrace.reset();
    } else if (!node.hiddenGrace) {
        node.hiddenGrace = seams_.scheduler.after(
            grace, [this, path = node.node.path] { hiddenGraceEnded(path); });
    }
}

void HeldNodes::lookAgain() {
    nextLook_.reset();
    // A process has its descriptor an instant after the kernel told of the open.
    const bool seekHidden =
        step_ == 0 && std::any_of(nodes_.begin(), nodes_.end(), [](const Node& node) {
            return node.hidden > 0 && !node.hiddenCounts;
        });
    ++step_;
    if (seekHidden) {
        look({});
        return;
    }
    for (auto& node : nodes_) {
        for (auto& hold : node.holds) {
            if (!hold.serves && !hold.counts) {
                hold.holder.maps = holders_.maps(hold.holder.pid, node.node);
                hold.counts = hold.holder.maps;
            }
        }
    }
    settle();
}

void HeldNodes::graceEnded(const std::string& path, pid_t pid) {
    for (auto& node : nodes_) {
        for (auto& hold : node.holds) {
            if (node.node.path != path || hold.holder.pid != pid) {
                continue;
            }
            if (!holders_.stillHolds(hold.holder, node.node)) {
                look({});
                return;
            }
            hold.counts = true;
        }
    }
    settle();
}

void HeldNodes::hiddenGraceEnded(const std::string& path) {
    look({});
    for (auto& node : nodes_) {
        if (node.node.path == path && node.hidden > 0) {
            node.hiddenCounts = true;
        }
    }
    settle();
}

bool HeldNodes::allStillHeld() const {
    return std::all_of(nodes_.begin(), nodes_.end(), [this](const Node& node) {
        return std::all_of(node.holds.begin(), node.holds.end(), [&](const Hold& hold) {
            return hold.serves || holders_.stillHolds(hold.holder, node.node) ||
                   (hold.holder.maps && holders_.maps(hold.holder.pid, node.node));
        });
    });
}

// After everything that may have changed a hold: what is told, and when it is looked at next.
void HeldNodes::settle() {
    std::map<std::string, std::vector<std::string>> users;
    bool undecided = false;
    bool held = false;
    for (auto& node : nodes_) {
        if (node.hiddenCounts) {
            users[node.node.path];
        }
        undecided = undecided || (node.hidden > 0 && !node.hiddenCounts);
        for (auto& hold : node.holds) {
            held = held || !hold.serves;
            undecided = undecided || (!hold.serves && !hold.counts);
            if (hold.counts) {
                hold.grace.reset();
                auto& apps = users[node.node.path];
                if (std::find(apps.begin(), apps.end(), hold.app) == apps.end()) {
                    apps.push_back(hold.app);
                }
            }
        }
    }
    if (!undecided || step_ >= steps.size()) {
        nextLook_.reset();
    } else if (!nextLook_ || step_ == 0) {
        nextLook_ = seams_.scheduler.after(steps[step_], [this] { lookAgain(); });
    }
    if (!held) {
        heartbeat_.reset();
    } else if (!heartbeat_) {
        heartbeat_ = seams_.scheduler.every(heartbeat, [this] {
            if (!allStillHeld()) {
                look({});
            }
        });
    }
    if (users != users_) {
        users_ = std::move(users);
        seams_.onChange();
    }
}

} // namespace velmoran
