// Names with one part left open. Pure; any thread.
#pragma once

#include <string_view>

namespace velmoran {

/// Whether the text is the pattern, in which one "*" at most stands for one or more characters that
/// are no "/".
bool matchesWildcard(std::string_view pattern, std::string_view text);

} // namespace velmoran
