// The lid, the power source and the machine's sleep, as logind and UPower have them on the system
// bus, and the power supplies of the kernel where UPower says nothing. Owned by the away readings;
// main thread, what is announced comes on the loop's.
#pragma once

#include "core/away/AwaySignal.h"
#include "core/base/Subscription.h"
#include "system/linux/bus/BusKeeper.h"
#include "system/linux/kernel/EventLoop.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velmoran {

class LidAndPower {
public:
    /// What a question waits for at most while nobody listens, and at a tick while somebody does: a
    /// bus that hangs isn't waited for a second time.
    static constexpr Seconds firstPatience = 0.5;
    static constexpr Seconds patience = 0.05;
    /// How old an answer may be of which no change is announced. To ask for each tick would cost
    /// more than all the rest of it.
    static constexpr Seconds freshness = 3;

    /// Where the kernel shows what there is.
    struct Folders {
        std::string powerSupplies = "/sys/class/power_supply";
        std::string inputs = "/sys/class/input";
    };

    /// The first two outlive this. `timeAsleep` gives how long the machine has been asleep since it
    /// was started; by the kernel's clocks if it is empty.
    LidAndPower(EventLoop& loop, BusKeeper& systemBus, Folders folders, Seconds fresh = freshness,
                std::function<Seconds()> timeAsleep = {});
    ~LidAndPower();
    LidAndPower(const LidAndPower&) = delete;
    LidAndPower& operator=(const LidAndPower&) = delete;

    /// logind is asked anew where it hasn't announced a change yet, as older ones (before 256)
    /// never do, if the machine has a lid.
    std::optional<bool> isLidClosed();
    std::optional<bool> isOnACPower();
    /// Of sleep and waking up, until the handle goes. A sleep of which logind hasn't told is
    /// noticed at the next question for the lid.
    [[nodiscard]] Subscription listen(std::function<void(const AwaySignal&)> announced);

private:
    class Live;

    /// Follows the bus from the first question or listener on, until the last listener goes.
    std::shared_ptr<Live> live();

    EventLoop& loop_;
    BusKeeper& bus_;
    Folders folders_;
    std::chrono::duration<double> fresh_;
    std::function<Seconds()> timeAsleep_;
    std::optional<bool> onMains_;                                       ///< by the kernel
    std::optional<std::chrono::steady_clock::time_point> onMainsSince_; ///< when it was read
    std::shared_ptr<Live> kept_; ///< for whoever asks before somebody listens
    std::weak_ptr<Live> live_;
};

} // namespace velmoran
