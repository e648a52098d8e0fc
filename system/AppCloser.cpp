#include "system/AppCloser.h"

#include <algorithm>
#include <utility>

namespace velmoran {

struct AppCloser::Closing {
    RunningApp app;
    std::function<void(bool)> done;
    Subscription poll;
    bool isForced = false;

    bool isGone() const {
        return std::all_of(app.applications.begin(), app.applications.end(),
                           [](const auto& each) { return each->isTerminated(); }) &&
               std::all_of(app.processes.begin(), app.processes.end(),
                           [](const auto& each) { return each->isGone(); });
    }

    void askPolitely() const {
        for (const auto& application : app.applications) {
            application->terminate();
        }
        // An app that was asked to quit isn't signalled too: it may be asking about unsaved work.
        if (app.applications.empty()) {
            for (const auto& process : app.processes) {
                process->askToEnd();
            }
        }
    }

    void force() const {
        for (const auto& application : app.applications) {
            application->forceTerminate();
        }
        for (const auto& process : app.processes) {
            process->kill();
        }
    }
};

AppCloser::AppCloser(RunningApps& running, Scheduler& scheduler)
    : running_(running),
      scheduler_(scheduler) {}

AppCloser::~AppCloser() = default;

void AppCloser::close(const AppIdentity& app, std::function<void(bool)> done) {
    const auto closing = std::make_shared<Closing>();
    closing->app = running_.find(app);
    closing->done = std::move(done);
    underWay_.insert(closing);
    closing->askPolitely();
    wait(closing, politePolls);
}

void AppCloser::wait(const std::shared_ptr<Closing>& closing, int polls) {
    const bool gone = closing->isGone();
    if (!gone && polls > 0) {
        // Held weakly: the timer belongs to what it would keep alive.
        closing->poll =
            scheduler_.after(pollInterval, [this, weak = std::weak_ptr(closing), polls] {
                if (const auto alive = weak.lock()) {
                    wait(alive, polls - 1);
                }
            });
    } else if (!gone && !closing->isForced) {
        closing->isForced = true;
        closing->force();
        wait(closing, forcedPolls);
    } else {
        underWay_.erase(closing);
        closing->done(gone);
    }
}

} // namespace velmoran
