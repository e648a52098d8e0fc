#include "system/linux/pipewire/UseHold.h"

#include <algorithm>
#include <utility>

namespace velmoran {

bool GraphPicture::hasUsers() const {
    return !processes.empty() ||
           std::ranges::any_of(cameras, [](const auto& camera) { return !camera.users.empty(); });
}

std::vector<AudioProcess> GraphPicture::audioProcesses() const {
    std::vector<AudioProcess> all;
    for (const auto& entry : processes) {
        all.push_back(entry.process);
    }
    return all;
}

std::vector<CameraUse> GraphPicture::cameraUses() const {
    std::vector<CameraUse> uses;
    for (const auto& camera : cameras) {
        auto& use = uses.emplace_back(CameraUse{camera.device, {}});
        for (const auto& user : camera.users) {
            use.apps.emplace_back(user.app);
        }
    }
    return uses;
}

void UseHold::hold(const GraphPicture& picture) {
    isHolding_ = true;
    for (const auto& entry : picture.processes) {
        if (std::find(held_.processes.begin(), held_.processes.end(), entry) ==
            held_.processes.end()) {
            held_.processes.push_back(entry);
        }
    }
    for (const auto& camera : picture.cameras) {
        if (!camera.users.empty() &&
            std::find(held_.cameras.begin(), held_.cameras.end(), camera) == held_.cameras.end()) {
            held_.cameras.push_back(camera);
        }
    }
}

void UseHold::drop(pid_t pid) {
    if (pid <= 0) {
        return;
    }
    std::erase_if(held_.processes, [&](const auto& entry) { return entry.process.pid == pid; });
    for (auto& camera : held_.cameras) {
        std::erase_if(camera.users, [&](const auto& user) { return user.pid == pid; });
    }
    std::erase_if(held_.cameras, [](const auto& camera) { return camera.users.empty(); });
}

void UseHold::release() {
    isHolding_ = false;
    held_ = {};
}

std::set<pid_t> UseHold::heldProcesses() const {
    std::set<pid_t> pids;
    for (const auto& entry : held_.processes) {
        pids.insert(entry.process.pid);
    }
    for (const auto& camera : held_.cameras) {
        for (const auto& user : camera.users) {
            pids.insert(user.pid);
        }
    }
    std::erase_if(pids, [](pid_t pid) { return pid <= 0; });
    return pids;
}

GraphPicture UseHold::merged(GraphPicture live) {
    if (!isHolding_) {
        return live;
    }
    for (auto& entry : held_.processes) {
        for (const auto& now : live.processes) {
            if (now.app.isSameApp(entry.app)) {
                entry.process.isRunningInput &= !now.process.isRunningInput;
                entry.process.isRunningOutput &= !now.process.isRunningOutput;
            }
        }
    }
    std::erase_if(held_.processes, [](const auto& entry) {
        return !entry.process.isRunningInput && !entry.process.isRunningOutput;
    });
    for (auto& camera : held_.cameras) {
        std::erase_if(camera.users, [&](const auto& user) {
            return std::any_of(live.cameras.begin(), live.cameras.end(), [&](const auto& other) {
                return std::any_of(other.users.begin(), other.users.end(),
                                   [&](const auto& now) { return now.app.isSameApp(user.app); });
            });
        });
    }
    std::erase_if(held_.cameras, [](const auto& camera) { return camera.users.empty(); });

    live.processes.insert(live.processes.begin(), held_.processes.begin(), held_.processes.end());
    for (const auto& camera : held_.cameras) {
        // The same camera has another number under a new server.
        const auto same =
            std::find_if(live.cameras.begin(), live.cameras.end(), [&](const auto& other) {
                return other.device.name == camera.device.name;
            });
        if (same == live.cameras.end()) {
            live.cameras.push_back(camera);
            continue;
        }
        same->users.insert(same->users.begin(), camera.users.begin(), camera.users.end());
        same->device.isRunningSomewhere = true;
    }
    return live;
}

} // namespace velmoran
