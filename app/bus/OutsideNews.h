// What other programs have had changed in another Velmoran, as that tells it on the bus: a watch in
// a terminal hears it beside the Velmoran on the desktop. Any program can send such a signal, so
// the bus is asked which process it was. Owned by the service; main thread.
#pragma once

#include "app/bus/BusLink.h"
#include "app/bus/OutsideChange.h"

#include <cstdint>
#include <deque>
#include <functional>

namespace velmoran {

class OutsideNews {
public:
    using IsVelmoran = std::function<bool(std::int32_t pid)>;

    /// Nobody is heard without an `isVelmoran`.
    OutsideNews(IsVelmoran isVelmoran, std::function<void(const OutsideChange&)> heard);
    OutsideNews(const OutsideNews&) = delete;
    OutsideNews& operator=(const OutsideNews&) = delete;

    /// From now on on this connection, until `forget`.
    void listen(sd_bus* bus);
    void forget();
    /// True if it is such a signal, from whomever.
    bool take(sd_bus_message* message);

    /// Tells the others on this connection.
    static BusMessage signalOf(sd_bus* bus, const OutsideChange& change);

    /// So many signals wait for the bus; more are dropped.
    static constexpr std::size_t most = 16;

private:
    struct Waiting {
        OutsideNews& news;
        OutsideChange change;
        BusSlot slot;
        bool isOver = false;
    };
    static int answered(sd_bus_message* reply, void* waiting, sd_bus_error* error);

    IsVelmoran isVelmoran_;
    std::function<void(const OutsideChange&)> heard_;
    sd_bus* bus_ = nullptr; ///< null while nobody is heard
    std::deque<Waiting> waiting_;
};

} // namespace velmoran
