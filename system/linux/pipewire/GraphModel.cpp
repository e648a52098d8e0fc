#include "system/linux/pipewire/GraphModel.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace velmoran {

namespace {

bool isOfClass(const GraphNode& node, std::string_view wanted) {
    const std::string_view mediaClass = node.mediaClass;
    return mediaClass.starts_with(wanted) &&
           (mediaClass.size() == wanted.size() || mediaClass[wanted.size()] == '/');
}

bool isMicrophone(const GraphNode& node) {
    return isOfClass(node, "Audio/Source") || isOfClass(node, "Audio/Duplex");
}

bool isSpeaker(const GraphNode& node) {
    return isOfClass(node, "Audio/Sink") || isOfClass(node, "Audio/Duplex");
}

bool isCamera(const GraphNode& node) {
    return isOfClass(node, "Video/Source") && node.mediaRole == "Camera";
}

bool isDevice(const GraphNode& node) {
    return isMicrophone(node) || isSpeaker(node) || isOfClass(node, "Video/Source");
}

/// One running or pausing node with its links to others of that kind.
struct Vertex {
    const GraphNode* node = nullptr;
    GraphSerial client = 0;
    std::vector<std::size_t> feeds;      ///< whoever gets anything of its output
    std::vector<std::size_t> playedFrom; ///< whoever's own output it gets, not a monitor's copy
    std::vector<std::size_t> groupMates; ///< of the same client and link group
    bool isBesideStream = false;         ///< linked with somebody that is no device
};

using Vertices = std::vector<Vertex>;

/// Everything that the data of some origins reaches. What an app does inside isn't known, so its
/// outputs are taken to carry what its inputs get. Only into a device such a guess isn't followed:
/// else whoever records what a speaker plays would use the microphone of every mixer before it.
class Flow {
public:
    explicit Flow(const Vertices& vertices)
        : vertices_(vertices),
          received_(vertices.size(), Certainty::none),
          sent_(vertices.size(), Certainty::none) {}

    void spreadFrom(std::size_t origin) {
        send(origin, Certainty::sure);
        while (!pending_.empty()) {
            const auto index = pending_.back();
            pending_.pop_back();
            for (const auto other : vertices_[index].feeds) {
                receive(other, sent_[index]);
            }
        }
    }
    bool hasReached(std::size_t index) const { return received_[index] != Certainty::none; }

private:
    enum class Certainty { none, guess, sure };

    void send(std::size_t index, Certainty certainty) {
        if (sent_[index] < certainty) {
            sent_[index] = certainty;
            pending_.push_back(index);
        }
    }

    void receive(std::size_t index, Certainty certainty) {
        const auto& vertex = vertices_[index];
        if (received_[index] >= certainty ||
            (isDevice(*vertex.node) && certainty == Certainty::guess)) {
            return;
        }
        received_[index] = certainty;
        // Outputs of a recording stream and of a device are copies of what goes in.
        const bool copies = isDevice(*vertex.node) || isOfClass(*vertex.node, "Stream/Input");
        send(index, copies ? certainty : Certainty::guess);
        for (const auto mate : vertex.groupMates) {
            send(mate, certainty);
        }
    }

    const Vertices& vertices_;
    std::vector<Certainty> received_;
    std::vector<Certainty> sent_;
    std::vector<std::size_t> pending_;
};

std::vector<bool> playing(const Vertices& vertices) {
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

/// A device whose maker is gone only passes on what it gets: whoever listens to it is the user.
bool canBeUser(const Vertex& vertex) {
    return vertex.client != 0 || !isDevice(*vertex.node);
}

void addUser(std::vector<GraphUses::User>& users, const GraphUses::User& user) {
    const auto same = std::find_if(users.begin(), users.end(), [&](const auto& other) {
        return user.client != 0 && other.client == user.client;
    });
    if (same == users.end()) {
        users.push_back(user);
        return;
    }
    same->microphone = same->microphone || user.microphone;
    same->speaker = same->speaker || user.speaker;
}

const std::string& shownName(const GraphNode& node) {
    return node.description.empty() ? node.name : node.description;
}

} // namespace

void GraphModel::place(std::uint32_t id, Kind kind, GraphSerial serial) {
    const auto found = objects_.find(id);
    if (found != objects_.end()) {
        if (found->second.kind == kind && found->second.serial == serial) {
            return;
        }
        remove(id);
    }
    objects_[id] = {kind, serial};
    isStale_ = true;
}

void GraphModel::addClient(std::uint32_t id, GraphSerial serial) {
    place(id, Kind::client, serial);
}

void GraphModel::setNode(GraphNode node) {
    place(node.id, Kind::node, node.serial);
    auto& known = nodes_[node.serial];
    if (known != node) {
        known = std::move(node);
        isStale_ = true;
    }
}

void GraphModel::setPort(GraphPort port) {
    place(port.id, Kind::port, port.serial);
    auto& known = ports_[port.serial];
    if (known != port) {
        known = port;
        isStale_ = true;
    }
}

void GraphModel::setLink(GraphLink link) {
    place(link.id, Kind::link, link.serial);
    auto& known = links_[link.serial];
    if (known.link != link) {
        known.link = link;
        isStale_ = true;
    }
    resolve(known);
}

void GraphModel::remove(std::uint32_t id) {
    const auto found = objects_.find(id);
    if (found == objects_.end()) {
        return;
    }
    const auto serial = found->second.serial;
    switch (found->second.kind) {
    case Kind::client:
        break;
    case Kind::node:
        nodes_.erase(serial);
        break;
    case Kind::port:
        ports_.erase(serial);
        break;
    case Kind::link:
        links_.erase(serial);
        break;
    }
    objects_.erase(found);
    isStale_ = true;
}

void GraphModel::clear() {
    objects_.clear();
    nodes_.clear();
    ports_.clear();
    links_.clear();
    isStale_ = true;
}

const GraphNode* GraphModel::node(GraphSerial serial) const {
    const auto found = nodes_.find(serial);
    return found == nodes_.end() ? nullptr : &found->second;
}

GraphSerial GraphModel::serialOf(std::uint32_t id, Kind kind) const {
    const auto found = objects_.find(id);
    return found != objects_.end() && found->second.kind == kind ? found->second.serial : 0;
}

void GraphModel::resolve(ResolvedLink& entry) const {
    const auto keep = [this](GraphSerial& kept, std::uint32_t id, Kind kind) {
        if (kept == 0) {
            kept = serialOf(id, kind);
        }
    };
    keep(entry.outputNode, entry.link.outputNodeID, Kind::node);
    keep(entry.outputPort, entry.link.outputPortID, Kind::port);
    keep(entry.inputNode, entry.link.inputNodeID, Kind::node);
}

std::optional<GraphSerial> GraphModel::clientWithID(std::uint32_t id) const {
    const auto serial = serialOf(id, Kind::client);
    return serial == 0 ? std::nullopt : std::optional(serial);
}

bool GraphModel::isDeviceOfRunning(GraphSerial serial) const {
    const auto* device = node(serial);
    const auto isRunningStream = [this](GraphSerial other) {
        const auto* stream = node(other);
        return stream && stream->state == GraphNode::State::running && !isDevice(*stream);
    };
    return device && isDevice(*device) &&
           std::any_of(links_.begin(), links_.end(), [&](const auto& entry) {
               const auto& link = entry.second;
               return link.link.state == GraphLink::State::set &&
                      ((link.outputNode == serial && isRunningStream(link.inputNode)) ||
                       (link.inputNode == serial && isRunningStream(link.outputNode)));
           });
}

const GraphUses& GraphModel::uses() {
    if (isStale_) {
        recompute();
        isStale_ = false;
    }
    return uses_;
}

void GraphModel::recompute() {
    Vertices vertices;
    std::unordered_map<GraphSerial, std::size_t> indexOf;
    std::map<std::pair<GraphSerial, std::string_view>, std::vector<std::size_t>> groups;
    GraphUses uses;
    for (const auto& [serial, node] : nodes_) {
        if (isMicrophone(node) || isSpeaker(node)) {
            uses.audioDevices.push_back({serial, shownName(node), isMicrophone(node),
                                         isSpeaker(node), node.state == GraphNode::State::running});
        }
        if (isCamera(node)) {
            uses.cameras.push_back({serial, shownName(node), false, {}});
        }
        if (node.state < GraphNode::State::pausing) {
            continue;
        }
        const auto client = node.clientID ? serialOf(*node.clientID, Kind::client) : 0;
        if (!node.linkGroup.empty() && client != 0) {
            groups[{client, node.linkGroup}].push_back(vertices.size());
        }
        indexOf.emplace(serial, vertices.size());
        vertices.push_back({&node, client, {}, {}, {}});
    }
    for (auto& [serial, entry] : links_) {
        resolve(entry);
        const auto output = indexOf.find(entry.outputNode);
        const auto input = indexOf.find(entry.inputNode);
        if (entry.link.state != GraphLink::State::set || output == indexOf.end() ||
            input == indexOf.end()) {
            continue;
        }
        auto& from = vertices[output->second];
        auto& into = vertices[input->second];
        from.isBesideStream = from.isBesideStream || !isDevice(*into.node);
        into.isBesideStream = into.isBesideStream || !isDevice(*from.node);
        from.feeds.push_back(input->second);
        const auto port = ports_.find(entry.outputPort);
        if (port == ports_.end() || !port->second.isMonitor) {
            into.playedFrom.push_back(output->second);
        }
    }
    // A device that pauses was left, unless somebody beside it goes on.
    for (auto& device : uses.audioDevices) {
        const auto index = indexOf.find(device.node);
        device.isRunning =
            device.isRunning || (index != indexOf.end() && vertices[index->second].isBesideStream);
    }
    for (const auto& [key, members] : groups) {
        for (const auto member : members) {
            for (const auto other : members) {
                if (other != member) {
                    vertices[member].groupMates.push_back(other);
                }
            }
        }
    }

    Flow sound(vertices);
    for (std::size_t index = 0; index < vertices.size(); ++index) {
        if (isMicrophone(*vertices[index].node)) {
            sound.spreadFrom(index);
        }
    }
    const auto plays = playing(vertices);
    for (std::size_t index = 0; index < vertices.size(); ++index) {
        const auto& vertex = vertices[index];
        const bool hears = sound.hasReached(index);
        if ((hears || plays[index]) && canBeUser(vertex)) {
            addUser(uses.users, {vertex.client, vertex.node->serial, hears, plays[index]});
        }
    }
    std::sort(uses.users.begin(), uses.users.end(), [](const auto& one, const auto& other) {
        return std::pair(one.client, one.node) < std::pair(other.client, other.node);
    });
    for (auto& camera : uses.cameras) {
        const auto origin = indexOf.find(camera.node);
        if (origin == indexOf.end()) {
            continue;
        }
        Flow pictures(vertices);
        pictures.spreadFrom(origin->second);
        for (std::size_t index = 0; index < vertices.size(); ++index) {
            if (pictures.hasReached(index) && canBeUser(vertices[index])) {
                addUser(camera.users,
                        {vertices[index].client, vertices[index].node->serial, false, false});
            }
        }
        camera.isRunning = !camera.users.empty();
    }
    uses_ = std::move(uses);
}

} // namespace velmoran
