#include "app/bus/BusEntry.h"

#include <cstdint>

namespace velmoran {

using Steady = std::chrono::steady_clock;

Steady::time_point inSeconds(Seconds patience) {
    return Steady::now() +
           std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(patience));
}

bool runBusUntil(sd_bus* bus, Steady::time_point end, const std::function<bool()>& condition) {
    while (!condition()) {
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(end - Steady::now()).count();
        if (left <= 0) {
            return false;
        }
        const int done = sd_bus_process(bus, nullptr);
        // What has failed and what was just dealt with may be what is waited for.
        if (done < 0) {
            return condition();
        }
        if (done == 0 && !condition() && sd_bus_wait(bus, static_cast<std::uint64_t>(left)) < 0) {
            return false;
        }
    }
    return true;
}

BusEntry enterBus(const std::string& address, Seconds patience) {
    sd_bus* made = nullptr;
    if (address.empty() || sd_bus_new(&made) < 0) {
        return {};
    }
    BusHandle bus(made);
    if (sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
        sd_bus_negotiate_fds(made, 0) < 0 || sd_bus_start(made) < 0) {
        return {};
    }
    const auto end = inSeconds(patience);
    if (runBusUntil(made, end, [made] { return sd_bus_is_ready(made) > 0; })) {
        return {BusEntry::Outcome::entered, std::move(bus)};
    }
    const bool isSilent = Steady::now() >= end;
    return {isSilent ? BusEntry::Outcome::silent : BusEntry::Outcome::absent, nullptr};
}

} // namespace velmoran
