#include "system/linux/nodes/V4l2Cameras.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

namespace velmoran {

V4l2Cameras::V4l2Cameras(EventLoop& loop, ProcessNaming& naming,
                         std::function<bool(pid_t)> servesOthers, const Places& places)
    : naming_(naming),
      nodeUsers_(NodeHolders(places.procRoot, ::getpid()), {loop, naming, std::move(servesOthers),
                                                            [this] {
                                                                update();
                                                            }}),
      devices_(loop, places.devices, [this] { readDevices(); }),
      watch_(loop, places.devices.deviceFolder, VideoDevices::isVideoNode,
             {[this] { readDevices(); },
              [this](const std::vector<NodeEvents>& events) { nodeUsers_.handleEvents(events); },
              [this] {
                  nodeUsers_.handleLostEvents();
              }}) {
    readDevices();
}

void V4l2Cameras::readDevices() {
    list_ = devices_.list();
    std::vector<std::string> paths;
    for (const auto& device : list_) {
        paths.insert(paths.end(), device.nodes.begin(), device.nodes.end());
    }
    // Watched before it is looked who has them open: no open can fall between the two.
    const bool watchesAll = watch_.watchNodes(paths) && !devices_.hasHiddenOnes();
    std::vector<DeviceNode> nodes;
    for (const auto& path : paths) {
        if (auto node = deviceNodeAt(path)) {
            nodes.push_back(std::move(*node));
        }
    }
    nodeUsers_.setNodes(std::move(nodes));
    update();
    if (std::exchange(watchesAll_, watchesAll) != watchesAll && onChange_) {
        onChange_();
    }
}

void V4l2Cameras::update() {
    std::vector<CameraUse> cameras;
    for (const auto& device : list_) {
        CameraUse camera;
        const auto [id, isNew] = objectIDs_.try_emplace(device.key + '\n' + device.name, 0);
        if (isNew) {
            id->second = firstObjectID + static_cast<std::uint32_t>(objectIDs_.size());
        }
        camera.device.objectID = id->second;
        camera.device.name = device.name;
        bool someoneUnseen = false;
        for (const auto& node : device.nodes) {
            const auto users = nodeUsers_.users(node);
            if (!users) {
                continue;
            }
            camera.device.isRunningSomewhere = true;
            someoneUnseen = someoneUnseen || users->someoneUnseen;
            for (const auto& app : users->apps) {
                if (std::find(camera.apps.begin(), camera.apps.end(), app) == camera.apps.end()) {
                    camera.apps.push_back(app);
                }
            }
        }
        if (someoneUnseen) {
            // A user like any other: with no name for it, whoever else has a camera would be taken
            // for it.
            const auto key = "camera-" + std::to_string(id->second - firstObjectID);
            camera.apps.emplace_back(naming_.unidentified(key));
        }
        cameras.push_back(std::move(camera));
    }
    if (cameras != cameras_) {
        cameras_ = std::move(cameras);
        if (onChange_) {
            onChange_();
        }
    }
}

} // namespace velmoran
