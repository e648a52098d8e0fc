// What Linux tells of a machine while nobody sits at it: from logind and UPower, the kernel's power
// supplies, input devices, udev and a hinge sensor. Owned by the machine; main thread.
#pragma once

#include "system/AwayReadings.h"
#include "system/linux/away/InputWatch.h"
#include "system/linux/away/LidAndPower.h"
#include "system/linux/away/PluggedDevices.h"
#include "system/linux/bus/BusKeeper.h"
#include "system/linux/kernel/EventLoop.h"

#include <functional>
#include <memory>
#include <optional>

namespace velmoran {

class LinuxAwayReadings final : public AwayReadings {
public:
    /// Both outlive this.
    LinuxAwayReadings(EventLoop& loop, BusKeeper& systemBus);

    std::optional<Seconds> sinceLast(InputEvent event) override { return input_.sinceLast(event); }
    std::optional<bool> isLidClosed() override { return lidAndPower_.isLidClosed(); }
    std::unique_ptr<LidAngle> openLidAngle() override;
    std::optional<bool> isOnACPower() override { return lidAndPower_.isOnACPower(); }
    Subscription listen(std::function<void(const AwaySignal&)> announced) override;
    bool tellsInput() override { return input_.tellsInput(); }

private:
    InputWatch input_;
    PluggedDevices plugged_;
    LidAndPower lidAndPower_;
};

} // namespace velmoran
