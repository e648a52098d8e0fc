#include "core/records/WarningLevel.h"

#include "core/records/RawValue.h"

namespace velmoran {

namespace {
constexpr RawValueTable<WarningLevel, 3> table = {{{WarningLevel::quiet, "quiet"},
                                                   {WarningLevel::standard, "standard"},
                                                   {WarningLevel::strong, "strong"}}};
}

std::string_view rawValue(WarningLevel level) {
    return rawValueIn(table, level);
}

std::optional<WarningLevel> warningLevelFrom(std::string_view rawValue) {
    return caseIn(table, rawValue);
}

void to_json(Json& json, WarningLevel level) {
    json = std::string(rawValue(level));
}

void from_json(const Json& json, WarningLevel& level) {
    level = caseFromJson(table, json);
}

} // namespace velmoran
