#include "system/linux/peers/LinuxConnections.h"

#include "system/linux/peers/SocketTable.h"

#include <utility>

namespace velmoran {

LinuxConnections::LinuxConnections(ProcessesOf processesOf, ProcFs proc)
    : processesOf_(std::move(processesOf)),
      proc_(std::move(proc)) {}

void LinuxConnections::ofApps(std::vector<AppIdentity> apps,
                              std::function<void(const Found&)> done) {
    if (!queue_) {
        queue_ = std::make_unique<ThreadQueue>();
    }
    queue_->post([this, apps = std::move(apps), done = std::move(done)] { done(read(apps)); });
}

Connections::Found LinuxConnections::read(const std::vector<AppIdentity>& apps) const {
    std::map<std::string, std::vector<std::uint64_t>> sockets;
    for (const auto& app : apps) {
        auto& own = sockets[app.id];
        for (const auto pid : processesOf_(app)) {
            const auto held = proc_.sockets(pid);
            own.insert(own.end(), held.begin(), held.end());
        }
    }
    const auto table = readSocketTable();
    Found found;
    for (const auto& [app, inodes] : sockets) {
        found[app] = connectionsOf(inodes, table);
    }
    return found;
}

} // namespace velmoran
