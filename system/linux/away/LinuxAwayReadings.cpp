#include "system/linux/away/LinuxAwayReadings.h"

#include "system/linux/away/IioLidAngle.h"

#include <utility>

namespace velmoran {

LinuxAwayReadings::LinuxAwayReadings(EventLoop& loop, BusKeeper& systemBus)
    : input_(loop, InputWatch::Places::ofThisSession()),
      plugged_(loop),
      lidAndPower_(loop, systemBus, {}) {}

std::unique_ptr<LidAngle> LinuxAwayReadings::openLidAngle() {
    return IioLidAngle::open();
}

Subscription LinuxAwayReadings::listen(std::function<void(const AwaySignal&)> announced) {
    struct Listening {
        Subscription input;
        Subscription plugged;
        Subscription lidAndPower;
    };
    auto all = std::make_shared<Listening>();
    all->input = input_.listen();
    all->plugged = plugged_.listen(announced);
    all->lidAndPower = lidAndPower_.listen(std::move(announced));
    return Subscription([all = std::move(all)]() mutable { all.reset(); });
}

} // namespace velmoran
