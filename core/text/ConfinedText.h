// A text that somebody else chose, as it may stand in a name of ours. Pure; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmoran {

/// The text so that it can't reach beyond its place, nor pass for what stands beside it: in one
/// line and without characters that aren't seen, its blanks single ones, round brackets square,
/// since ours are round, and "…" for its middle where it would take more than `columns` (one a
/// character, two a wide one). `text` is UTF-8; what is malformed in it becomes U+FFFD. Empty if
/// nothing of it is seen.
std::string confinedText(std::string_view text, std::size_t columns);

} // namespace velmoran
