#include "system/linux/away/PluggedDevices.h"

#include "system/linux/away/ExternalVolumes.h"
#include "system/linux/away/UsbArrivals.h"

#include <optional>
#include <string>
#include <utility>

#include <libudev.h>

namespace velmoran {

namespace {

struct Arrivals {
    Arrivals(EventLoop& loop, const std::shared_ptr<struct udev>& context,
             const std::shared_ptr<MountTable>& mounts,
             const std::function<void(std::optional<std::string>)>& arrived)
        : usb(loop, context, arrived),
          volumes(loop, context, mounts, arrived) {}

    UsbArrivals usb;
    ExternalVolumes volumes;
};

} // namespace

PluggedDevices::PluggedDevices(EventLoop& loop, std::shared_ptr<MountTable> mounts)
    : loop_(loop),
      mounts_(mounts ? std::move(mounts) : std::make_shared<KernelMountTable>()) {}

Subscription PluggedDevices::listen(std::function<void(const AwaySignal&)> announced) {
    const std::shared_ptr<struct udev> context(udev_new(),
                                               [](struct udev* old) { udev_unref(old); });
    if (!context) {
        return {};
    }
    const auto arrived = [announced = std::move(announced)](std::optional<std::string> name) {
        AwaySignal signal;
        signal.kind = AwaySignal::Kind::devicePluggedIn;
        signal.name = std::move(name);
        announced(signal);
    };
    auto arrivals = std::make_shared<std::unique_ptr<Arrivals>>();
    loop_.runAndWait(
        [&] { *arrivals = std::make_unique<Arrivals>(loop_, context, mounts_, arrived); });
    return Subscription([&loop = loop_, arrivals] { loop.runAndWait([&] { arrivals->reset(); }); });
}

} // namespace velmoran
