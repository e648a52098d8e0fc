// Of the scripted machine: a screen that is locked, and a machine that is touched, when a recording
// says so. Owned by the machine; one thread.
#pragma once

#include "core/base/Observable.h"
#include "system/AwayReadings.h"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace velmoran {

class ScriptedAwayReadings final : public AwayReadings {
public:
    std::optional<bool> isLidClosed() override { return lidClosed; }
    std::optional<bool> isOnACPower() override { return onACPower; }
    std::unique_ptr<LidAngle> openLidAngle() override;
    [[nodiscard]] Subscription listen(std::function<void(const AwaySignal&)> announced) override {
        return announced_.subscribe(std::move(announced));
    }
    bool tellsInput() override { return inputIsTold; }

    /// Nobody hears it unless somebody listens.
    void announce(const AwaySignal& signal) const { announced_(signal); }

    std::optional<bool> lidClosed;
    std::optional<bool> onACPower;
    std::optional<int> lidAngle; ///< without one at its opening there is no sensor
    bool inputIsTold = true;

private:
    Event<const AwaySignal&> announced_;
};

class ScriptedScreenLock final : public ScreenLock {
public:
    [[nodiscard]] Subscription observe(std::function<void()> onLock,
                                       std::function<void()> onUnlock) override;
    bool isAnnounced() override { return announced_; }
    [[nodiscard]] Subscription onAnnouncerChange(std::function<void()> changed) override {
        return changed_.subscribe(std::move(changed));
    }

    void lock() const { locked_(); }
    void unlock() const { unlocked_(); }
    void setAnnounced(bool announced);

private:
    bool announced_ = true;
    Event<> locked_;
    Event<> unlocked_;
    Event<> changed_;
};

} // namespace velmoran
