#include "app/model/StopTools.h"

#include <utility>

namespace velmoran {

SystemMuter::SystemMuter(Machine& machine, Scheduler& scheduler, Report report)
    : machine_(machine),
      scheduler_(scheduler),
      shared_(std::make_shared<Shared>()) {
    shared_->report = std::move(report);
}

template <class Tell>
Microphones::Answer SystemMuter::onMain(Tell tell) const {
    return [weak = std::weak_ptr(shared_), &scheduler = scheduler_,
            tell = std::move(tell)](const MuteAnswer& answer) {
        scheduler.post([weak, tell, answer] {
            if (const auto shared = weak.lock()) {
                tell(*shared, answer);
            }
        });
    };
}

Microphones::Answer SystemMuter::telling() const {
    return onMain([undone = shared_->undone](const Shared& shared, const MuteAnswer& answer) {
        if (answer.mutedCount >= 1 && shared.undone == undone) {
            shared.report.tookEffect(answer);
        }
    });
}

void SystemMuter::mute(std::function<void(const MuteOutcome&)> done) {
    machine_.microphones().setMuted(true,
                                    onMain([undone = shared_->undone, done = std::move(done)](
                                               const Shared& shared, const MuteAnswer& answer) {
                                        shared.report.answered(answer, shared.undone == undone);
                                        done(answer);
                                    }),
                                    telling());
}

void SystemMuter::repeat() {
    machine_.microphones().setMuted(true, telling(), telling());
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
