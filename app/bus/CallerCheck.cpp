#include "app/bus/CallerCheck.h"

#include <algorithm>
#include <cstdint>
#include <unistd.h>

namespace velmoran {

CallerCheck::CallerCheck(std::string address, Scheduler& scheduler)
    : address_(std::move(address)),
      mainThread_(scheduler) {}

CallerCheck::~CallerCheck() {
    question_.reset();
}

std::optional<bool> CallerCheck::known(const std::string& caller) const {
    const auto found = std::find_if(known_.begin(), known_.end(),
                                    [&](const auto& each) { return each.first == caller; });
    return found == known_.end() ? std::nullopt : std::optional(found->second);
}

void CallerCheck::ask(const std::string& caller, Answer answer) {
    caller_ = caller;
    answer_ = std::move(answer);
    question_.reset();
    if (isLost_) {
        link_.reset();
        isLost_ = false;
    }
    if (!link_) {
        link_ = BusLink::open(address_, {.lost = [this] {
                                  isLost_ = true;
                                  answerLater(false);
                              }});
    }
    sd_bus_slot* slot = nullptr;
    if (!link_ || sd_bus_call_method_async(link_->bus(), &slot, "org.freedesktop.DBus",
                                           "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                           "GetConnectionUnixUser", &CallerCheck::answered, this,
                                           "s", caller.c_str()) < 0) {
        answerLater(false);
        return;
    }
    question_.reset(slot);
    link_->rearm();
}

int CallerCheck::answered(sd_bus_message* reply, void* check, sd_bus_error*) {
    auto& self = *static_cast<CallerCheck*>(check);
    std::uint32_t user = 0;
    const bool said = sd_bus_message_is_method_error(reply, nullptr) == 0 &&
                      sd_bus_message_read(reply, "u", &user) >= 0;
    if (said) {
        self.known_.emplace_back(self.caller_, user == ::getuid());
        if (self.known_.size() > memory) {
            self.known_.pop_front();
        }
    }
    self.answerLater(said && user == ::getuid());
    return 1;
}

void CallerCheck::answerLater(bool isOurUser) {
    // Whoever asks may do anything in the answer, and we are inside the bus library or our link.
    mainThread_.post([this, caller = caller_, isOurUser] {
        if (caller == caller_) {
            finish(isOurUser);
        }
    });
}

void CallerCheck::finish(bool isOurUser) {
    if (const auto answer = std::exchange(answer_, nullptr)) {
        answer(isOurUser);
    }
}

} // namespace velmoran
