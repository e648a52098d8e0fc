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
    const auto onMain = [weak = std::weak_ptr(shared_), &scheduler = scheduler_](auto tell) {
        return [weak, &scheduler, tell](const MuteOutcome& outcome) {
            scheduler.post([weak, tell, outcome] {
                if (const auto shared = weak.lock()) {
                    tell(*shared, outcome);
                }
            });
        };
    };
    const auto answered = [undone = shared_->undone, done = std::move(done)](
                              const Shared& shared, const MuteOutcome& outcome) {
        shared.report.answered(outcome, shared.undone == undone);
        done(outcome);
    };
    const auto tookEffect = [undone = shared_->undone](const Shared& shared,
                                                       const MuteOutcome& outcome) {
        if (shared.undone == undone) {
            shared.report.tookEffect(outcome);
        }
    };
    machine_.microphones().setMuted(true, onMain(answered), onMain(tookEffect));
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
