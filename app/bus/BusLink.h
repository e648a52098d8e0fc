// One connection to the user's session bus, read at the event loop's own pace: a message is taken
// from the socket only when the one before it has been dealt with, so that whatever is sent to us
// waits with the bus and not in our memory. Never waits for the bus. Owned by whoever speaks over
// it; main thread, with Qt's event loop.
#pragma once

#include "system/bus/BusAddress.h"
#include "system/bus/BusHandles.h"

#include <functional>
#include <memory>
#include <string>

namespace velmoran {

class BusLink {
public:
    struct Calls {
        /// The link has failed and takes part in nothing any more. Told once; the link has to live
        /// until the call is over.
        std::function<void()> lost;
        /// What was written has gone out, after there had been too much of it.
        std::function<void()> drained = [] {
        };
    };

    /// Begins to connect to that address; null if that fails at once.
    static std::unique_ptr<BusLink> open(const std::string& address, Calls calls);
    ~BusLink();
    BusLink(const BusLink&) = delete;
    BusLink& operator=(const BusLink&) = delete;

    sd_bus* bus() const { return bus_.get(); }
    /// After whatever has made the library write or wait for something, outside its callbacks.
    void rearm();
    /// Takes nothing from the socket until `resume`.
    void pause();
    void resume();
    /// The bus doesn't take what we write: whoever only tells something waits for `drained`.
    bool isClogged() const;

private:
    class Turns;

    BusLink(BusHandle bus, Calls calls);
    void turn();
    void fail();

    BusHandle bus_;
    Calls calls_;
    bool isPaused_ = false;
    bool wasClogged_ = false;
    bool isLost_ = false;
    std::unique_ptr<Turns> turns_;
};

} // namespace velmoran
