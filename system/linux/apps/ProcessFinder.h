// Finds the processes of an app: all that are named as it is, helpers, scripts and sandboxes
// included. Owned by the machine; any thread, also several at once. Of thousands of processes only
// those that can be the app by the file they run are named at all.
#pragma once

#include "core/records/AppIdentity.h"
#include "system/linux/apps/LinuxAppNames.h"
#include "system/linux/apps/ProcessMatcher.h"
#include "system/linux/kernel/ProcFs.h"

#include <vector>

namespace velmoran {

class ProcessFinder {
public:
    /// The names outlive it, and look at the same processes.
    explicit ProcessFinder(LinuxAppNames& names, ProcFs proc = ProcFs());

    /// By id, in the order of their process ids; empty for an app that can't be named. A process
    /// may end at any time and another take its id: who acts on one holds it first and then asks
    /// `isOf`.
    std::vector<pid_t> find(const AppIdentity& app) const;
    /// To match chosen processes in a row. The names and this outlive it.
    ProcessMatcher matcher(const AppIdentity& app) const;
    const ProcFs& proc() const { return proc_; }
    /// Whether the process is the app's at this moment.
    bool isOf(pid_t pid, const AppIdentity& app) const;

private:
    LinuxAppNames& names_;
    const ProcFs proc_;
};

} // namespace velmoran
