// Makes an app go away: politely first, by force after two seconds of patience, and says whether it
// went. Owned by what a machine closes apps with; main thread, and never blocking it: the waits are
// timers.
#pragma once

#include "core/base/Scheduler.h"
#include "core/records/AppIdentity.h"

#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace velmoran {

/// An application as the desktop knows it. Calls after its end do nothing.
class RunningApplication {
public:
    virtual ~RunningApplication() = default;
    /// Asks it to quit, so that it can ask about unsaved work.
    virtual void terminate() = 0;
    virtual void forceTerminate() = 0;
    virtual bool isTerminated() = 0;
};

/// A process, held so that a reused process id is never hit.
class RunningProcess {
public:
    virtual ~RunningProcess() = default;
    virtual void askToEnd() = 0; ///< signal 15
    virtual void kill() = 0;     ///< signal 9
    /// One that may not be signalled counts as gone only where the platform can't tell the two
    /// apart.
    virtual bool isGone() = 0;
};

/// What runs of an app. Never this program itself.
struct RunningApp {
    std::vector<std::unique_ptr<RunningApplication>> applications;
    std::vector<std::unique_ptr<RunningProcess>> processes;
};

class RunningApps {
public:
    virtual ~RunningApps() = default;
    /// Empty when nothing of the app runs.
    virtual RunningApp find(const AppIdentity& app) = 0;
};

class AppCloser {
public:
    static constexpr Seconds pollInterval = 0.1;
    static constexpr int politePolls = 20;
    static constexpr int forcedPolls = 15;

    /// Both outlive the closer.
    AppCloser(RunningApps& running, Scheduler& scheduler);
    ~AppCloser();

    /// `done` is called once, in the call or later, with true if all that was found is gone.
    /// Dropping the closer drops what is under way, `done` with it.
    void close(const AppIdentity& app, std::function<void(bool gone)> done);

private:
    struct Closing;

    void wait(const std::shared_ptr<Closing>& closing, int polls);

    RunningApps& running_;
    Scheduler& scheduler_;
    std::set<std::shared_ptr<Closing>> underWay_;
};

} // namespace velmoran
