// Whatever a server announces, in whatever order: the mirror of its graph never crashes, tells no
// use of a node that doesn't run, and is empty again when all objects are gone.
#include "system/linux/pipewire/GraphModel.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace velmoran;

class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool atEnd() const { return at_ >= size_; }
    std::uint8_t next() { return atEnd() ? std::uint8_t{0} : data_[at_++]; }
    std::uint32_t id() { return next() % 24; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void check(GraphModel& model) {
    const auto isRunning = [&](GraphSerial serial) {
        const auto* node = model.node(serial);
        return node != nullptr && node->state == GraphNode::State::running;
    };
    bool anyMicrophone = false;
    for (const auto& device : model.uses().audioDevices) {
        anyMicrophone = anyMicrophone || (device.hasInput && device.isRunning);
    }
    for (const auto& user : model.uses().users) {
        require(isRunning(user.node) && (user.microphone || user.speaker));
        require(!user.microphone || anyMicrophone);
    }
    for (const auto& camera : model.uses().cameras) {
        require(camera.isRunning == !camera.users.empty());
        require(!camera.isRunning || isRunning(camera.node));
        for (const auto& user : camera.users) {
            require(isRunning(user.node));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::array<const char*, 8> classes = {"",
                                                       "Audio/Source",
                                                       "Audio/Source/Virtual",
                                                       "Audio/Sink",
                                                       "Stream/Input/Audio",
                                                       "Video/Source",
                                                       "Audio/Duplex",
                                                       "Audio/Sourcery"};
    GraphModel model;
    Bytes bytes(data, size);
    GraphSerial serial = 1;
    while (!bytes.atEnd()) {
        const auto action = bytes.next();
        switch (action % 7) {
        case 0:
            model.addClient(bytes.id(), serial++);
            break;
        case 1: {
            GraphNode node;
            node.id = bytes.id();
            // Now and then under a serial that is already known, as an update is.
            node.serial = action > 128 && serial > 1 ? 1 + bytes.next() % (serial - 1) : serial++;
            const auto client = bytes.next();
            node.clientID = client > 200 ? std::nullopt : std::optional<std::uint32_t>(client % 24);
            node.mediaClass = classes.at(bytes.next() % classes.size());
            const auto traits = bytes.next();
            node.mediaRole = (traits & 1) != 0 ? "Camera" : "";
            node.linkGroup = (traits & 2) != 0 ? "group" : "";
            node.lingers = (traits & 16) != 0;
            node.state = (traits & 12) != 0 ? GraphNode::State::running : GraphNode::State::idle;
            model.setNode(node);
            break;
        }
        case 2: {
            GraphPort port;
            port.id = bytes.id();
            port.serial = serial++;
            port.isMonitor = action > 128;
            model.setPort(port);
            break;
        }
        case 3: {
            GraphLink link;
            link.id = bytes.id();
            link.serial = serial++;
            link.outputNodeID = bytes.id();
            link.outputPortID = bytes.id();
            link.inputNodeID = bytes.id();
            link.state = action > 230 ? GraphLink::State::unset : GraphLink::State::set;
            model.setLink(link);
            break;
        }
        case 4:
            model.remove(bytes.id());
            break;
        case 5:
            model.markRelay(1 + bytes.next() % serial);
            break;
        default:
            check(model);
        }
    }
    check(model);
    for (std::uint32_t id = 0; id < 24; ++id) {
        model.remove(id);
    }
    require(model.size() == 0 && model.uses() == GraphUses{});
    return 0;
}
