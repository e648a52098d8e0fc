// Finds out whether devices that were told to be removed are really gone, by a look over a
// connection of its own. Any client of PipeWire may have objects hidden from another's connection,
// and whoever they are hidden from is told that they were removed. Owned by the context; used with
// its lock held.
#pragma once

#include "core/base/Subscription.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>

struct pa_threaded_mainloop;

namespace velmoran {

class PulseContext;

class HiddenDevices {
public:
    /// `found` is called when one of them is still there, `gone` when those looked for have gone.
    /// `context` outlives this.
    HiddenDevices(PulseContext& context, std::function<void()> found, std::function<void()> gone);
    ~HiddenDevices();
    HiddenDevices(const HiddenDevices&) = delete;
    HiddenDevices& operator=(const HiddenDevices&) = delete;

    /// An object of a facility, as PA_SUBSCRIPTION_EVENT_…, was told to be removed.
    void removed(pa_threaded_mainloop* loop, unsigned facility, std::uint32_t index);
    /// Whether neither is known of some.
    bool isLooking() const { return begin_ || look_ || end_; }
    /// The connection of which that was told is over.
    void stop();

private:
    /// A source (true) or a sink, by the server's index, which is the same for every client.
    using Device = std::pair<bool, std::uint32_t>;
    /// `nothing` where the server let nobody in, as when it has all clients that it takes.
    enum class Seen { nothing, gone, stillThere };
    class Look;

    void lookSoon(pa_threaded_mainloop* loop);
    void looked(pa_threaded_mainloop* loop, Seen seen);

    PulseContext& context_;
    std::function<void()> found_;
    std::function<void()> gone_;
    std::set<Device> removed_;   ///< that haven't been looked for yet
    std::set<Device> lookedFor_; ///< without an answer as yet; the look's own
    std::unique_ptr<Look> look_;
    Subscription begin_;
    Subscription end_;
};

} // namespace velmoran
