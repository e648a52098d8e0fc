#include "system/scripted/ScriptedAway.h"

namespace velmoran {

namespace {

/// The scripted machine's hinge, which outlives this.
class ScriptedLidAngle final : public LidAngle {
public:
    explicit ScriptedLidAngle(const std::optional<int>& angle) : angle_(angle) {}

    std::optional<int> read() override { return angle_; }

private:
    const std::optional<int>& angle_;
};

} // namespace

std::unique_ptr<LidAngle> ScriptedAwayReadings::openLidAngle() {
    return lidAngle ? std::make_unique<ScriptedLidAngle>(lidAngle) : nullptr;
}

Subscription ScriptedScreenLock::observe(std::function<void()> onLock,
                                         std::function<void()> onUnlock) {
    auto both = std::make_shared<std::pair<Subscription, Subscription>>(
        locked_.subscribe(std::move(onLock)), unlocked_.subscribe(std::move(onUnlock)));
    return Subscription([both] {
        both->first.reset();
        both->second.reset();
    });
}

void ScriptedScreenLock::setAnnounced(bool announced) {
    if (std::exchange(announced_, announced) != announced) {
        changed_();
    }
}

} // namespace velmoran
