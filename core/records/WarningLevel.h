// How loudly a use was or is to be told. A plain value; any thread.
#pragma once

#include "core/records/RawValue.h"

namespace velmoran {

/// Compared by case order: quiet < standard < strong.
enum class WarningLevel { quiet, standard, strong };

constexpr std::array<std::string_view, 3> caseNames(WarningLevel) {
    return {"quiet", "standard", "strong"};
}

} // namespace velmoran
