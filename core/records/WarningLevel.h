// How loudly a use was or is to be told. A plain value; any thread.
#pragma once

#include "core/base/Json.h"

#include <optional>
#include <string_view>

namespace velmoran {

/// Compared by case order: quiet < standard < strong.
enum class WarningLevel { quiet, standard, strong };

/// The case name: the stored and exchanged form.
std::string_view rawValue(WarningLevel level);
std::optional<WarningLevel> warningLevelFrom(std::string_view rawValue);

void to_json(Json& json, WarningLevel level);
void from_json(const Json& json, WarningLevel& level);

} // namespace velmoran
