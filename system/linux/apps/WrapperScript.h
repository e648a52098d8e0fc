// What a script that only starts another program names: the paths in its text, once the variables
// that it sets itself stand for what they are set to. A pure function of the text; any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// How much of a script is worth reading.
inline constexpr std::size_t longestWrapper = 16UL * 1024;

/// The absolute paths in the text of a shell script, without slashes and dots at their ends.
/// Variables are what was last written to them as one plain word ("A=/usr/lib/$B"); what a command
/// would make of one isn't known. Empty for what isn't a script.
std::vector<std::string> pathsInWrapper(std::string_view text);

} // namespace velmoran
