#include "app/model/UseAfterStop.h"

#include <algorithm>
#include <utility>

namespace velmoran {

UseAfterStop::UseAfterStop(const SessionEngine& engine, Scheduler& scheduler)
    : engine_(engine),
      scheduler_(scheduler) {}

std::vector<Device> UseAfterStop::besides(const Aim& aim, const std::set<Uuid>& closed) const {
    std::set<Device> devices;
    for (const auto& session : engine_.open()) {
        const bool isSpared = aim.spared.contains(session.app.id) && !session.app.cannotBeNamed();
        if (aim.devices.contains(session.device) && !isSpared && !closed.contains(session.id)) {
            devices.insert(session.device);
        }
    }
    return {devices.begin(), devices.end()};
}

/// A device that is on while nobody is named may be about to be read as off.
bool UseAfterStop::isUndecided(const Awaited& awaited) const {
    return std::ranges::any_of(
               engine_.open(),
               [&](const UsageSession& session) { return awaited.closed.contains(session.id); }) ||
           std::ranges::any_of(engine_.unattributedSince(), [&](const auto& device) {
               return awaited.aim.devices.contains(device.first);
           });
}

void UseAfterStop::whenEnded(Aim aim, std::set<Uuid> closed, Answer answer) {
    answerNow();
    awaited_ = Awaited{.aim = std::move(aim),
                       .closed = std::move(closed),
                       .answer = std::move(answer),
                       .end = scheduler_.after(patience, [this] { answerNow(); })};
    reconsider();
}

void UseAfterStop::reconsider() {
    if (awaited_ && !isUndecided(*awaited_)) {
        answerNow();
    }
}

void UseAfterStop::answerNow() {
    if (const auto awaited = std::exchange(awaited_, std::nullopt)) {
        awaited->answer(besides(awaited->aim, {}));
    }
}

} // namespace velmoran
