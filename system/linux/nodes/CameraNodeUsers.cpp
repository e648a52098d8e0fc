#include "system/linux/nodes/CameraNodeUsers.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace velmoran {

namespace {

// From one check of an undecided open to the next: close together at first, when a program that
// means to stream asks for its buffers.
constexpr std::array<Seconds, 7> checkDelays{0.010, 0.015, 0.025, 0.050, 0.100, 0.200, 0.200};
// How often it is made sure that a holder still is one: a descriptor can be handed to another
// process, of which no event tells.
constexpr Seconds heartbeat = 2.0;

// How many opens stand behind a holder: a mapping keeps the node open after its descriptor is
// closed.
int opensOf(const NodeHolder& holder) {
    return std::max(static_cast<int>(holder.descriptors.size()), holder.maps ? 1 : 0);
}

} // namespace

CameraNodeUsers::CameraNodeUsers(NodeHolders holders, Seams seams)
    : holders_(std::move(holders)),
      seams_(std::move(seams)) {}

void CameraNodeUsers::setNodes(std::vector<DeviceNode> nodes) {
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
        rescan({});
    }
    // Whoever has one open as this program starts most likely had it long before.
    if (!std::exchange(started_, true)) {
        for (auto& node : nodes_) {
            for (auto& hold : node.holds) {
                hold.counts = !hold.serves;
            }
        }
    }
    publish();
}

void CameraNodeUsers::handleEvents(const std::vector<NodeEvents>& events) {
    step_ = 0;
    rescan(events);
}

void CameraNodeUsers::handleLostEvents() {
    step_ = 0;
    rescan({}, true);
}

std::optional<CameraNodeUsers::Users> CameraNodeUsers::users(const std::string& path) const {
    const auto found = users_.find(path);
    return found == users_.end() ? std::nullopt : std::optional(found->second);
}

void CameraNodeUsers::rescan(const std::vector<NodeEvents>& events, bool someLost) {
    std::vector<DeviceNode> nodes;
    for (const auto& node : nodes_) {
        nodes.push_back(node.node);
    }
    const auto found = holders_.of(nodes);
    for (std::size_t index = 0; index < nodes_.size(); ++index) {
        const auto& path = nodes_[index].node.path;
        const auto event = std::find_if(events.begin(), events.end(),
                                        [&](const NodeEvents& one) { return one.path == path; });
        Reported reported;
        reported.someLost = someLost;
        if (event != events.end()) {
            reported.opens = event->opens;
            reported.closes = event->closes;
        }
        compare(nodes_[index], found[index], reported);
    }
    publish();
}

void CameraNodeUsers::compare(Node& node, const std::vector<NodeHolder>& found,
                              const Reported& reported) {
    countHidden(node, reported, updateHolds(node, found));
    boundAhead(node);
    if (node.hidden == 0) {
        node.hiddenCounts = false;
        node.hiddenGrace.reset();
    } else if (!node.hiddenGrace) {
        node.hiddenGrace = seams_.scheduler.after(
            grace, [this, path = node.node.path] { hiddenGraceEnded(path); });
    }
}

CameraNodeUsers::Change CameraNodeUsers::updateHolds(Node& node,
                                                     const std::vector<NodeHolder>& found) {
    Change change;
    std::erase_if(node.holds, [&](Hold& hold) {
        const auto same = std::find_if(found.begin(), found.end(), [&](const NodeHolder& holder) {
            return holder.pid == hold.holder.pid;
        });
        const int before = opensOf(hold.holder);
        hold.hides = same == found.end() && holders_.isOutOfSight(hold.holder.pid);
        if (same != found.end()) {
            hold.holder = *same;
        } else if (!hold.hides) {
            hold.holder.descriptors.clear();
            hold.holder.maps = hold.holder.maps && holders_.maps(hold.holder.pid, node.node);
        }
        const int now = opensOf(hold.holder);
        change.came += std::max(0, now - before);
        change.gone += std::max(0, before - now);
        return now == 0;
    });
    const auto firstNew = node.holds.size();
    for (auto holder = found.rbegin(); holder != found.rend(); ++holder) {
        const auto known = std::any_of(node.holds.begin(), node.holds.end(), [&](const Hold& hold) {
            return hold.holder.pid == holder->pid;
        });
        if (!known) {
            change.came += opensOf(*holder);
            addHold(node, *holder);
        }
    }
    // Only newcomers stand in the order of process ids; the rest keeps its order of opening.
    std::stable_sort(
        std::next(node.holds.begin(), static_cast<std::ptrdiff_t>(firstNew)), node.holds.end(),
        [](const Hold& one, const Hold& other) { return one.holder.pid < other.holder.pid; });
    for (auto& hold : node.holds) {
        hold.counts = hold.counts || (!hold.serves && hold.holder.maps);
    }
    return change;
}

void CameraNodeUsers::addHold(Node& node, const NodeHolder& holder) {
    Hold hold;
    hold.holder = holder;
    hold.serves = seams_.servesOthers(holder.pid);
    if (!hold.serves) {
        hold.app = AttributedApp(seams_.naming.identify(holder.pid));
        hold.grace = seams_.scheduler.after(
            grace, [this, path = node.node.path, pid = holder.pid] { graceEnded(path, pid); });
    }
    node.holds.push_back(std::move(hold));
}

void CameraNodeUsers::countHidden(Node& node, Reported reported, Change change) {
    if (reported.someLost) {
        // What is in sight has its own events among the lost ones. Only an open that was told an
        // instant ago may be that of a descriptor that has come since.
        const int explained = node.hiddenCounts ? 0 : std::min(change.came, node.hidden);
        node.hidden -= explained;
        node.opensAhead = 0;
        node.closesAhead = 0;
        return;
    }
    // The scan is later than the events that led to it, so it may have seen what is only told with
    // the next ones: those have been counted by then.
    if (reported.opens > 0 || reported.closes > 0) {
        reported.opens -= std::min(reported.opens, std::exchange(node.opensAhead, 0));
        reported.closes -= std::min(reported.closes, std::exchange(node.closesAhead, 0));
    }
    // Of a descriptor that one process has from another no event tells.
    const int handedOn =
        std::clamp(change.came - reported.opens, 0, std::max(0, change.gone - reported.closes));
    const int opens = reported.opens - (change.came - handedOn);
    int closes = reported.closes - (change.gone - handedOn);
    // More opens gone than closes told means that there were as many closes, whether those are
    // still to be told or were merged.
    if (closes < 0) {
        node.closesAhead -= closes;
        node.aheadDelay.reset();
        closes = 0;
    }
    if (opens >= closes) {
        node.hidden += opens - closes;
        return;
    }
    countCloses(node, closes - std::max(opens, 0));
    // A descriptor explains an open that was told an instant ago. One that comes when somebody has
    // long been known to be out of sight is another: duplicated, merged or still to be told.
    const int inSight = std::max(0, -opens);
    const int explained = node.hiddenCounts ? 0 : std::min(inSight, node.hidden);
    node.hidden -= explained;
    if (inSight > explained) {
        node.opensAhead += inSight - explained;
        node.aheadDelay.reset();
    }
}

// Closes by nobody who could be seen to have the node open before and hasn't now.
void CameraNodeUsers::countCloses(Node& node, int closes) {
    const int fromHidden = std::min(closes, node.hidden);
    node.hidden -= fromHidden;
    closes -= fromHidden;
    // Which of those that hide now isn't told.
    for (auto hold = node.holds.begin(); closes > 0 && hold != node.holds.end();) {
        auto& holder = hold->holder;
        for (; hold->hides && closes > 0 && opensOf(holder) > 0; --closes) {
            holder.maps = holder.maps && holder.descriptors.size() > 1;
            if (!holder.descriptors.empty()) {
                holder.descriptors.pop_back();
            }
        }
        hold = opensOf(holder) == 0 ? node.holds.erase(hold) : std::next(hold);
    }
    // Or somebody has it open anew already.
    if (closes > 0) {
        node.opensAhead += closes;
        node.aheadDelay.reset();
    }
}

// An event that a scan was ahead of is told at once, or never: merged, or none of the node's.
void CameraNodeUsers::boundAhead(Node& node) {
    int inSight = 0;
    for (const auto& hold : node.holds) {
        inSight += opensOf(hold.holder);
    }
    node.opensAhead = std::min(node.opensAhead, inSight);
    if (node.opensAhead == 0 && node.closesAhead == 0) {
        node.aheadDelay.reset();
    } else if (!node.aheadDelay) {
        node.aheadDelay =
            seams_.scheduler.after(delay, [this, path = node.node.path] { delayEnded(path); });
    }
}

void CameraNodeUsers::delayEnded(const std::string& path) {
    for (auto& node : nodes_) {
        if (node.node.path == path) {
            node.opensAhead = 0;
            node.closesAhead = 0;
            node.aheadDelay.reset();
        }
    }
}

void CameraNodeUsers::recheck() {
    nextCheck_.reset();
    // A process has its descriptor an instant after the kernel told of the open.
    const bool seekHidden =
        step_ == 0 && std::any_of(nodes_.begin(), nodes_.end(), [](const Node& node) {
            return node.hidden > 0 && !node.hiddenCounts;
        });
    ++step_;
    if (seekHidden) {
        rescan({});
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
    publish();
}

void CameraNodeUsers::graceEnded(const std::string& path, pid_t pid) {
    for (auto& node : nodes_) {
        for (auto& hold : node.holds) {
            if (node.node.path != path || hold.holder.pid != pid) {
                continue;
            }
            if (!isHeld(hold, node.node)) {
                rescan({});
                return;
            }
            hold.counts = true;
        }
    }
    publish();
}

void CameraNodeUsers::hiddenGraceEnded(const std::string& path) {
    rescan({});
    for (auto& node : nodes_) {
        if (node.node.path == path && node.hidden > 0) {
            node.hiddenCounts = true;
        }
    }
    publish();
}

bool CameraNodeUsers::isHeld(const Hold& hold, const DeviceNode& node) const {
    return holders_.stillHolds(hold.holder, node) ||
           (hold.holder.maps && holders_.maps(hold.holder.pid, node)) ||
           holders_.isOutOfSight(hold.holder.pid);
}

bool CameraNodeUsers::allStillHeld() const {
    return std::all_of(nodes_.begin(), nodes_.end(), [this](const Node& node) {
        return std::all_of(node.holds.begin(), node.holds.end(), [&](const Hold& hold) {
            return hold.serves || isHeld(hold, node.node);
        });
    });
}

// After everything that may have changed a hold: what is told, and when it is looked at next.
void CameraNodeUsers::publish() {
    std::map<std::string, Users> users;
    bool undecided = false;
    bool held = false;
    for (auto& node : nodes_) {
        if (node.hiddenCounts) {
            users[node.node.path].someoneUnseen = true;
        }
        undecided = undecided || (node.hidden > 0 && !node.hiddenCounts);
        for (auto& hold : node.holds) {
            held = held || !hold.serves;
            undecided = undecided || (!hold.serves && !hold.counts);
            if (hold.counts) {
                hold.grace.reset();
                auto& apps = users[node.node.path].apps;
                if (std::find(apps.begin(), apps.end(), hold.app) == apps.end()) {
                    apps.push_back(hold.app);
                }
            }
        }
    }
    if (!undecided || step_ >= checkDelays.size()) {
        nextCheck_.reset();
    } else if (!nextCheck_ || step_ == 0) {
        nextCheck_ = seams_.scheduler.after(checkDelays[step_], [this] { recheck(); });
    }
    if (!held) {
        heartbeat_.reset();
    } else if (!heartbeat_) {
        heartbeat_ = seams_.scheduler.every(heartbeat, [this] {
            if (!allStillHeld()) {
                rescan({});
            }
        });
    }
    if (users != users_) {
        users_ = std::move(users);
        seams_.onChange();
    }
}

} // namespace velmoran
