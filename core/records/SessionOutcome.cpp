#include "core/records/SessionOutcome.h"

#include "core/records/RawValue.h"

namespace velmoran {

namespace {
constexpr RawValueTable<SessionOutcome, 3> table = {
    {{SessionOutcome::endedNormally, "endedNormally"},
     {SessionOutcome::stoppedByUser, "stoppedByUser"},
     {SessionOutcome::endUnknown, "endUnknown"}}};
}

std::string_view rawValue(SessionOutcome outcome) {
    return rawValueIn(table, outcome);
}

std::optional<SessionOutcome> sessionOutcomeFrom(std::string_view rawValue) {
    return caseIn(table, rawValue);
}

void to_json(Json& json, SessionOutcome outcome) {
    json = std::string(rawValue(outcome));
}

void from_json(const Json& json, SessionOutcome& outcome) {
    outcome = caseFromJson(table, json);
}

} // namespace velmoran
