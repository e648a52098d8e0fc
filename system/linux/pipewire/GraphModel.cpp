#include "system/linux/pipewire/GraphModel.h"

#include "system/linux/pipewire/GraphFlow.h"
#include "system/linux/pipewire/NodeClass.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace velmoran {

namespace {

void join(GraphVertices& vertices, GraphGroups& groups, const GraphGroup& from, GraphGroup to) {
    for (const auto index : from) {
        vertices[index].passesTo.push_back(groups.size());
    }
    groups.push_back(std::move(to));
}

/// What goes into a relay and doesn't come out of it has left the graph, by a network, a pipe or
/// the server's own socket, and may be back in whatever relay only gives.
void joinBeyondTheGraph(GraphVertices& vertices, GraphGroups& groups,
                        const std::vector<const GraphGroup*>& relays) {
    GraphGroup exits;
    GraphGroup entrances;
    for (const auto* relay : relays) {
        const auto any = [&](bool GraphVertex::*fact) {
            return std::any_of(relay->begin(), relay->end(),
                               [&](auto index) { return vertices[index].*fact; });
        };
        const bool gets = any(&GraphVertex::gets);
        const bool gives = any(&GraphVertex::givesOwn);
        if (gets != gives) {
            auto& side = gets ? exits : entrances;
            side.insert(side.end(), relay->begin(), relay->end());
        }
    }
    join(vertices, groups, exits, std::move(entrances));
}

/// A device whose maker is gone only passes on what it gets: whoever listens to it is the user. One
/// that names a maker whom the server doesn't vouch for may be anybody's.
bool canBeUser(const GraphVertex& vertex) {
    const auto& node = *vertex.node;
    return vertex.client != 0 || !isDevice(node) || (node.lingers && node.clientID);
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

void GraphModel::markRelay(GraphSerial client) {
    if (relays_.insert(client).second) {
        isStale_ = true;
    }
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
        relays_.erase(serial);
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
    relays_.clear();
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

std::optional<GraphSerial> GraphModel::ownerOf(const GraphNode& node) const {
    const auto client =
        node.clientID && !node.lingers ? clientWithID(*node.clientID) : std::nullopt;
    // One that is younger than its node was only given the number of the owner, who is gone.
    return client && *client < node.serial ? client : std::nullopt;
}

std::set<GraphSerial> GraphModel::clients() const {
    std::set<GraphSerial> clients;
    for (const auto& [id, object] : objects_) {
        if (object.kind == Kind::client) {
            clients.insert(object.serial);
        }
    }
    return clients;
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
    GraphVertices vertices;
    std::unordered_map<GraphSerial, std::size_t> indexOf;
    // The link groups of a relay are the words of whoever asked for it, so it is one group.
    std::map<std::pair<GraphSerial, std::string_view>, GraphGroup> members;
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
        const auto client = ownerOf(node).value_or(0);
        const bool isRelay = relays_.contains(client);
        if (isRelay) {
            members[{client, std::string_view()}].push_back(vertices.size());
        } else if (!node.linkGroup.empty() && client != 0) {
            members[{client, node.linkGroup}].push_back(vertices.size());
        }
        indexOf.emplace(serial, vertices.size());
        vertices.push_back({.node = &node,
                            .client = client,
                            .isRelay = isRelay,
                            .feeds = {},
                            .playedFrom = {},
                            .passesTo = {}});
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
        into.gets = true;
        from.feeds.push_back(input->second);
        const auto port = ports_.find(entry.outputPort);
        if (port == ports_.end() || !port->second.isMonitor) {
            from.givesOwn = true;
            into.playedFrom.push_back(output->second);
        }
    }
    // A device that pauses was left, unless somebody beside it goes on.
    for (auto& device : uses.audioDevices) {
        const auto index = indexOf.find(device.node);
        device.isRunning =
            device.isRunning || (index != indexOf.end() && vertices[index->second].isBesideStream);
    }
    GraphGroups groups;
    std::vector<const GraphGroup*> relays;
    for (const auto& [key, group] : members) {
        join(vertices, groups, group, group);
        if (key.second.empty()) {
            relays.push_back(&group);
        }
    }
    joinBeyondTheGraph(vertices, groups, relays);

    GraphFlow sound(vertices, groups);
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
        GraphFlow pictures(vertices, groups);
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
