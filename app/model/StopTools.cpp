#include "app/model/StopTools.h"

#include <utility>

namespace velmoran {

SystemMuter::SystemMuter(Machine& machine, Scheduler& scheduler, Report report)
    : machine_(machine),
      scheduler_(scheduler),
      report_(std::make_shared<const Report>(std::move(report))) {}

void SystemMuter::mute(std::function<void(const MuteOutcome&)> done) {
    machine_.microphones().setMuted(true, [weak = std::weak_ptr(report_), &scheduler = scheduler_,
                                           done = std::move(done)](const MuteOutcome& outcome) {
        scheduler.post([weak, done, outcome] {
            if (const auto report = weak.lock()) {
                (*report)(outcome);
                done(outcome);
            }
        });
    });
}

SystemCloser::SystemCloser(std::unique_ptr<AppClosing> closer, Report report)
    : report_(std::move(report)),
      closer_(std::move(closer)) {}

void SystemCloser::close(const AppIdentity& app, std::function<void(bool)> done) {
    closer_->close(app, [this, app, done = std::move(done)](bool gone) {
        report_(app, gone);
        done(gone);
    });
}

} // namespace velmoran
