// Whether a caller on the bus is a process of our own user, as the bus itself knows it. Asks over a
// connection of its own, so that whoever asks can leave the callers waiting meanwhile. Owned by the
// service that is called; main thread.
#pragma once

#include "app/bus/BusLink.h"
#include "core/base/MainThread.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace velmoran {

class CallerCheck {
public:
    using Answer = std::function<void(bool isOurUser)>;

    /// The scheduler outlives this.
    CallerCheck(std::string address, Scheduler& scheduler);
    ~CallerCheck();
    CallerCheck(const CallerCheck&) = delete;
    CallerCheck& operator=(const CallerCheck&) = delete;

    /// What is known already. The bus gives a connection's name to no other one.
    std::optional<bool> known(const std::string& caller) const;
    /// One question at a time. Answered later; no if the bus can't say. Not answered when this is
    /// gone by then.
    void ask(const std::string& caller, Answer answer);

    /// So many callers are remembered.
    static constexpr std::size_t memory = 64;

private:
    static int answered(sd_bus_message* reply, void* check, sd_bus_error* error);
    void finish(bool isOurUser);
    void answerLater(bool isOurUser);

    std::string address_;
    std::unique_ptr<BusLink> link_;
    bool isLost_ = false;
    BusSlot question_;
    std::string caller_;
    Answer answer_;
    std::deque<std::pair<std::string, bool>> known_; ///< the oldest first
    MainThread mainThread_;
};

} // namespace velmoran
