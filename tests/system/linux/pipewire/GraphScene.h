// A graph laid out by hand, for the tests of what follows from it.
#pragma once

#include "system/linux/pipewire/GraphModel.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace velmoran::testing {

// Short ids and serials are apart on purpose, so that taking one for the
// other shows.
class Graph {
public:
    using State = GraphNode::State;
    static constexpr std::uint32_t serialOffset = 1000;

    GraphModel model;

    std::uint32_t client() {
        const auto id = next_++;
        model.addClient(id, id + serialOffset);
        return id;
    }
    std::uint32_t relay() {
        const auto id = client();
        model.markRelay(id + serialOffset);
        return id;
    }
    std::uint32_t node(std::optional<std::uint32_t> client, std::string mediaClass,
                       State state = State::running, std::string linkGroup = {}) {
        GraphNode node;
        node.id = next_++;
        node.serial = node.id + serialOffset;
        node.clientID = client;
        node.mediaClass = std::move(mediaClass);
        node.linkGroup = std::move(linkGroup);
        node.state = state;
        model.setNode(node);
        return node.id;
    }
    std::uint32_t camera(std::uint32_t client, std::string role = "Camera") {
        const auto id = node(client, "Video/Source");
        auto node = *model.node(id + serialOffset);
        node.mediaRole = std::move(role);
        node.description = "Front camera";
        model.setNode(node);
        return id;
    }
    void setState(std::uint32_t id, State state) {
        auto node = *model.node(id + serialOffset);
        node.state = state;
        model.setNode(node);
    }
    std::uint32_t link(std::uint32_t from, std::uint32_t to, bool fromMonitor = false,
                       GraphLink::State state = GraphLink::State::set) {
        GraphPort port;
        port.id = next_++;
        port.serial = port.id + serialOffset;
        port.isMonitor = fromMonitor;
        model.setPort(port);
        GraphLink link;
        link.id = next_++;
        link.serial = link.id + serialOffset;
        link.outputNodeID = from;
        link.outputPortID = port.id;
        link.inputNodeID = to;
        link.state = state;
        model.setLink(link);
        return link.id;
    }

    bool hears(std::uint32_t client) { return user(client).microphone; }
    bool plays(std::uint32_t client) { return user(client).speaker; }
    bool sees(std::uint32_t client) {
        const auto& cameras = model.uses().cameras;
        return std::any_of(cameras.begin(), cameras.end(), [&](const auto& camera) {
            return std::any_of(camera.users.begin(), camera.users.end(), [&](const auto& user) {
                return user.client == client + serialOffset;
            });
        });
    }

private:
    GraphUses::User user(std::uint32_t client) {
        for (const auto& user : model.uses().users) {
            if (user.client == client + serialOffset) {
                return user;
            }
        }
        return {};
    }

    std::uint32_t next_ = 10;
};

struct Desktop : Graph {
    std::uint32_t manager = client();
    std::uint32_t app = client();
    std::uint32_t other = client();
    std::uint32_t microphone = node(manager, "Audio/Source");
    std::uint32_t speaker = node(manager, "Audio/Sink");
};

} // namespace velmoran::testing
