// The cameras that programs open directly, by their device nodes: which there are, which are in
// use, and by whom. Owned by the machine; made, used and destroyed on the loop's thread.
#pragma once

#include "system/Machine.h"
#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/NodeWatch.h"
#include "system/linux/nodes/CameraNodeUsers.h"
#include "system/linux/nodes/VideoDevices.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmoran {

class V4l2Cameras {
public:
    /// Object ids are this number plus 1, 2, 3 …: out of the range that sound servers use.
    static constexpr std::uint32_t firstObjectID = 0x56000000;

    struct Places {
        VideoDevices::Places devices = {};
        std::string procRoot = "/proc";
    };

    /// `servesOthers` is true for processes that hold cameras for their clients (the sound server):
    /// they use none themselves.
    V4l2Cameras(EventLoop& loop, ProcessNaming& naming, std::function<bool(pid_t)> servesOthers,
                const Places& places);

    /// From memory. A device keeps its object id as long as the program runs. Whoever uses one and
    /// can't be looked at is `unidentified` there, under an id of the device's own: several are
    /// one.
    std::vector<CameraUse> cameras() const { return cameras_; }
    /// Otherwise uses of some camera can't be seen: this program may not look at its node, or the
    /// kernel has no watch left for it.
    bool watchesAll() const { return watchesAll_; }
    /// Called after each change of either; a second call replaces the first callback.
    void onChange(std::function<void()> callback) { onChange_ = std::move(callback); }

private:
    void readDevices();
    void update();

    ProcessNaming& naming_;
    std::function<void()> onChange_;
    CameraNodeUsers nodeUsers_;
    VideoDevices devices_;
    std::vector<VideoDevice> list_;
    std::map<std::string, std::uint32_t> objectIDs_; ///< by key and name of a device
    std::vector<CameraUse> cameras_;
    bool watchesAll_ = true;
    NodeWatch watch_;
};

} // namespace velmoran
