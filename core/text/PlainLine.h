// A sentence as it may stand on a line of a terminal. Pure; any thread.
#pragma once

#include <string>

namespace velmoran {

/// A terminal obeys control characters, and a name comes from whoever runs the program: each of
/// them becomes a blank.
std::string plainLine(std::string text);

} // namespace velmoran
