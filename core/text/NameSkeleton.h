// What of a name is left when all is taken away by which two names that a person takes for the same
// can differ. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace velmoran {

/// Names with the same skeleton are easily taken for each other: Unicode's skeleton of confusable
/// characters (UTS 39), of letters and digits alone, whatever their case, width, accents and
/// script, and "i" as "l", since a capital one looks like that. `name` is UTF-8. Empty for a name
/// without a letter or digit, which looks like no other by this.
std::string nameSkeleton(std::string_view name);

} // namespace velmoran
