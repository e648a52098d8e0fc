// Whether a device goes on being used after a stop. An app that was closed is given the time in
// which its end is read. Who can't be named may be the one that was meant, so he counts always.
// Owned by the stop flow; main thread.
#pragma once

#include "core/base/Scheduler.h"
#include "core/sessions/SessionEngine.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmoran {

class UseAfterStop {
public:
    /// What a stop was to end.
    struct Aim {
        std::set<Device> devices;
        std::set<std::string> spared; ///< ids of named apps that may go on
    };
    using Answer = std::function<void(const std::vector<Device>&)>;

    /// Readings come at least every two seconds, whatever the device.
    static constexpr Seconds patience = 2.5;

    /// Both outlive this.
    UseAfterStop(const SessionEngine& engine, Scheduler& scheduler);

    /// The devices that are used now by others than these sessions.
    std::vector<Device> besides(const Aim& aim, const std::set<Uuid>& closed) const;
    /// Answers once, in the call or later, with the devices that are used when all these sessions
    /// have ended, or haven't in time.
    void whenEnded(Aim aim, std::set<Uuid> closed, Answer answer);
    /// There is a reading in which sessions have ended.
    void reconsider();
    /// What is still awaited is answered as it stands.
    void answerNow();

private:
    struct Awaited {
        Aim aim;
        std::set<Uuid> closed;
        Answer answer;
        Subscription end;
    };

    bool isUndecided(const Awaited& awaited) const;

    const SessionEngine& engine_;
    Scheduler& scheduler_;
    std::optional<Awaited> awaited_;
};

} // namespace velmoran
