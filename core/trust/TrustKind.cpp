#include "core/trust/TrustKind.h"

#include "core/records/RawValue.h"

namespace velmoran {

namespace {
constexpr RawValueTable<TrustKind, 3> table = {
    {{TrustKind::trusted, "trusted"},
     {TrustKind::alwaysWarn, "alwaysWarn"},
     {TrustKind::trustedAlwaysWarn, "trustedAlwaysWarn"}}};
}

bool isTrusted(TrustKind kind) {
    return kind != TrustKind::alwaysWarn;
}

bool alwaysWarns(TrustKind kind) {
    return kind != TrustKind::trusted;
}

std::optional<TrustKind> trustKindOf(bool trusted, bool alwaysWarn) {
    if (trusted) {
        return alwaysWarn ? TrustKind::trustedAlwaysWarn : TrustKind::trusted;
    }
    return alwaysWarn ? std::optional(TrustKind::alwaysWarn) : std::nullopt;
}

std::string_view rawValue(TrustKind kind) {
    return rawValueIn(table, kind);
}

std::optional<TrustKind> trustKindFrom(std::string_view rawValue) {
    return caseIn(table, rawValue);
}

void to_json(Json& json, TrustKind kind) {
    json = std::string(rawValue(kind));
}

void from_json(const Json& json, TrustKind& kind) {
    kind = caseFromJson(table, json);
}

} // namespace velmoran
