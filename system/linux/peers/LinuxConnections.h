// Whom the apps of this machine are talking to: the kernel's table of sockets, joined with the
// descriptors of each app's processes. Owned by the machine. The work is done on a thread of its
// own that is started with the first question and sleeps between two.
#pragma once

#include "system/Machine.h"
#include "system/ThreadQueue.h"
#include "system/linux/kernel/ProcFs.h"

#include <functional>
#include <memory>
#include <vector>

namespace velmoran {

/// Sockets of processes in another network namespace aren't in the table, and those of processes
/// that may not be looked at can't be told apart: both are missing.
class LinuxConnections final : public Connections {
public:
    using ProcessesOf = std::function<std::vector<pid_t>(const AppIdentity&)>;

    /// `processesOf` is called on the thread of this object.
    explicit LinuxConnections(ProcessesOf processesOf, ProcFs proc = ProcFs());

    void ofApps(std::vector<AppIdentity> apps, std::function<void(const Found&)> done) override;
    /// The same here and now.
    Found read(const std::vector<AppIdentity>& apps) const;

private:
    const ProcessesOf processesOf_;
    const ProcFs proc_;
    std::unique_ptr<ThreadQueue> queue_; ///< last, so that its end is the first
};

} // namespace velmoran
