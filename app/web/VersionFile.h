// The file that says which version is the newest: a JSON object with the text "version"; its other
// keys are somebody else's. It comes from outside, so it may be anything. Pure; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// Nothing if that isn't such a file.
std::optional<std::string> newestVersion(std::string_view file);

} // namespace velmoran
