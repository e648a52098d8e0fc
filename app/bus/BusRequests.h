// What other programs want done: stops and unmutes, one of each at a time. Each call is answered
// when what it asked for has ended, one that is dropped or refused at once. Owned by the service
// that is called; main thread.
#pragma once

#include "app/bus/BusLink.h"
#include "app/bus/RateLimiter.h"
#include "app/model/AppModel.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class BusRequests {
public:
    /// `remark` is that of the service's options. What `send` is given may be null. The model and
    /// the scheduler outlive this.
    BusRequests(AppModel& model, Scheduler& scheduler, std::function<std::string()> remark,
                std::function<void(const BusMessage&)> send);

    void stopEverything(sd_bus_message* call);
    void stop(sd_bus_message* call);
    void unmute(sd_bus_message* call);
    /// Nobody is answered any more who has called so far. What is under way goes on.
    void forgetCallers();

    /// The longest name of an app that is looked at, in bytes.
    static constexpr std::size_t longestName = 4096;
    /// Each stop shows a card, so a flood may not have as many as it likes. More than anybody
    /// presses; what the user does in the program itself isn't counted.
    static constexpr int atOnce = 10;
    static constexpr Seconds interval = 2.0;

private:
    bool mayStop(sd_bus_message* call);
    bool drop(sd_bus_message* call, const std::string& why);
    void stopEnded(const std::optional<StopResult>& result);
    void unmuteEnded(const MuteAnswer& result);

    AppModel& model_;
    std::function<std::string()> remark_;
    std::function<void(const BusMessage&)> send_;
    BusMessage stopCall_;   ///< whose stop is under way
    BusMessage unmuteCall_; ///< likewise
    RateLimiter stops_;
    RateLimiter unmutes_;
    RateLimiter raises_; ///< of the question before a stop
    std::vector<Subscription> subscriptions_;
};

} // namespace velmoran
