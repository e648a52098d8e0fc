#include "app/model/StopTools.h"

#include <utility>

namespace velmoran {

SystemMuter::SystemMuter(Machine& machine, Scheduler& scheduler, Report report)
    : machine_(machine),
      scheduler_(scheduler),
      shared_(std::make_shared<Shared>()) {
    shared_->report = std::move(report);
}

void SystemMuter::mute(std::function<void(const MuteOutcome&)> done) {
    machine_.microphones().setMuted(true, [weak = std::weak_ptr(shared_), &scheduler = scheduler_,
                                           undone = shared_->undone,
                                           done = std::move(done)](const MuteOutcome& outcome) {
        scheduler.post([weak, undone, done, outcome] {
            if (const auto shared = weak.lock()) {
                shared->report(outcome, shared->undone == undone);
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
