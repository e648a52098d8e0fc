// What other programs ask about the user's choices: what they are, another setting, and trust taken
// back. What they have changed is told. Owned by the service that is called; main thread.
#pragma once

#include "app/bus/BusLink.h"
#include "app/bus/OutsideChange.h"
#include "app/bus/RateLimiter.h"
#include "app/model/AppModel.h"

#include <functional>
#include <string>

namespace velmoran {

class ChoiceRequests {
public:
    /// `changed` is that of the service's options. What `send` is given may be null. The model and
    /// the scheduler outlive this.
    ChoiceRequests(AppModel& model, Scheduler& scheduler,
                   std::function<void(const OutsideChange&)> changed,
                   std::function<void(const BusMessage&)> send);

    void settings(sd_bus_message* call);
    void trust(sd_bus_message* call);
    /// Both take two texts.
    void changeSetting(sd_bus_message* call);
    void distrust(sd_bus_message* call);

private:
    bool mayChange(sd_bus_message* call);
    void answer(sd_bus_message* call, const std::string& text);
    /// What is asked for is so, and saved if that can be.
    void confirm(sd_bus_message* call, const std::string& sentence);
    void refuse(sd_bus_message* call, const char* error, const std::string& why);

    AppModel& model_;
    std::function<void(const OutsideChange&)> changed_;
    std::function<void(const BusMessage&)> send_;
    RateLimiter changes_; ///< each is written to disk
};

} // namespace velmoran
