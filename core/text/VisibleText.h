// Whether a person sees anything of a text, such as a name that a program has given itself. Pure;
// any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace velmoran {

/// Whether a person sees that character, by its number; also true for a negative one, that stands
/// for what is malformed.
bool isSeen(std::int32_t character);

/// False for a text of nothing but blanks, control characters and characters that draw nothing.
/// `text` is UTF-8; what is malformed in it is drawn as a replacement character, and so is seen.
bool showsAnything(std::string_view text);

} // namespace velmoran
