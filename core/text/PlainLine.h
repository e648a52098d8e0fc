// A sentence as it may stand on a line of a terminal. Pure; any thread.
#pragma once

#include <string>

namespace velmoran {

/// A terminal obeys control characters, and a name comes from whoever runs the program: each of
/// them becomes a blank, and so does what ends a line or turns its direction. What isn't UTF-8
/// becomes the replacement character.
std::string plainLine(const std::string& text);

/// JSON text on one line in which each such character is written as an escape, so that it means the
/// same to whoever reads JSON and nothing to a terminal.
std::string plainJson(std::string json);

} // namespace velmoran
