// Where the buses are. Any thread, as long as nobody changes the environment.
#pragma once

#include <string>
#include <vector>

namespace velmoran {

/// Where the user's session bus is: what the environment says, or the socket in the user's runtime
/// folder. Empty if there is neither.
std::string sessionBusAddress();

/// Where the machine's bus is: what the environment says, or the place that D-Bus gives it.
std::string systemBusAddress();

/// The paths of the sockets that a D-Bus address names; an address without any has none.
std::vector<std::string> socketPaths(const std::string& address);

} // namespace velmoran
