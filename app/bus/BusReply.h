// What a caller on the bus is answered with. Each text is made fit for the bus. Main thread.
#pragma once

#include "app/bus/BusLink.h"

#include <string>

namespace velmoran::bus {

/// Empty, to be filled.
BusMessage replyTo(sd_bus_message* call);
/// How a request ended: one of `outcome`, and what is to be said of it.
BusMessage replyTo(sd_bus_message* call, const char* outcome, const std::string& headline,
                   const std::string& detail = {});
/// Null where the call can't be refused.
BusMessage refusalOf(sd_bus_message* call, const char* error, const std::string& why);

} // namespace velmoran::bus
