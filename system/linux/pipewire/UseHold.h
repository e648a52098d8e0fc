// Keeps uses on the record while the server that tells of them is away. When a sound server or its
// session manager is started anew, all streams vanish and those that live through it come back
// within moments; to the person nothing has begun and nothing has ended. So what was going on
// before stays until it is told of again, until its process ends, or until the time for that is
// over. Pure; owned by the graph's reader; monitor's thread.
#pragma once

#include "core/records/SystemSnapshot.h"
#include "system/Machine.h"

#include <set>
#include <vector>

#include <sys/types.h>

namespace velmoran {

/// What the graph's reader tells, with the names beside it.
struct GraphPicture {
    struct Process {
        AudioProcess process;
        AppRef app;

        bool operator==(const Process&) const = default;
    };
    struct CameraUser {
        AppRef app;
        pid_t pid = 0; ///< 0 if it isn't known

        bool operator==(const CameraUser&) const = default;
    };
    struct Camera {
        CameraDeviceInfo device;
        std::vector<CameraUser> users;

        bool operator==(const Camera&) const = default;
    };

    std::vector<Process> processes;
    std::vector<AudioDeviceInfo> devices;
    std::vector<Camera> cameras;

    bool hasUsers() const;
    std::vector<AudioProcess> audioProcesses() const;
    std::vector<CameraUse> cameraUses() const;
    bool operator==(const GraphPicture&) const = default;
};

class UseHold {
public:
    bool isHolding() const { return isHolding_; }
    /// From now on these uses stay; a second call adds to those that are held.
    void hold(const GraphPicture& picture);
    /// A process has ended, so it uses nothing.
    void drop(pid_t pid);
    /// What isn't told of again by now has ended.
    void release();
    /// The processes of the uses that are held; those without a known id are left out.
    std::set<pid_t> heldProcesses() const;

    /// The picture with what is held added. An app that the picture itself tells of is held no
    /// longer for that device: its use goes on from there.
    GraphPicture merged(GraphPicture live);

private:
    bool isHolding_ = false;
    GraphPicture held_;
};

} // namespace velmoran
