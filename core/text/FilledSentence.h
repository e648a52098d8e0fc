// A sentence with holes for what it speaks of. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// Holes as Localizer::text has them.
std::string filledSentence(std::string_view sentence, const std::vector<std::string>& arguments);

} // namespace velmoran
