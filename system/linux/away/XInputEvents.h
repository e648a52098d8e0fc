// Hears of input from an X server. After each use it doesn't ask for that kind for a while, so that
// a mouse that speaks a thousand times a second costs as little as one that speaks five times.
// Lives on the loop's thread.
#pragma once

#include "core/base/Subscription.h"
#include "system/linux/away/XInputConnection.h"
#include "system/linux/kernel/EventLoop.h"

#include <bitset>
#include <functional>
#include <memory>

namespace velmoran {

class XInputEvents {
public:
    /// Whoever looks once a second for a use in the last 1.2 misses none by this.
    static constexpr Seconds rest = 0.2;

    struct Receiver {
        std::function<void(InputUse)> used;
        std::function<void()> lost; ///< the server has gone; nothing more is told
    };

    XInputEvents(EventLoop& loop, std::unique_ptr<XInputConnection> connection, Receiver receiver);
    XInputEvents(const XInputEvents&) = delete;
    XInputEvents& operator=(const XInputEvents&) = delete;

private:
    void drain();
    void askAgain();

    EventLoop& loop_;
    std::unique_ptr<XInputConnection> connection_;
    Receiver receiver_;
    std::bitset<inputUses> asked_;
    Subscription resting_;
    Subscription readable_; ///< last, so that its end is the first
};

} // namespace velmoran
