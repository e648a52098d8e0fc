// What the user has decided about one app and one device: that its use needs no notice, that it
// must always be told, or both. No decision at all is the absence of a rule. A plain value; any
// thread.
#pragma once

#include "core/records/RawValue.h"

namespace velmoran {

enum class TrustKind { trusted, alwaysWarn, trustedAlwaysWarn };

constexpr std::array<std::string_view, 3> caseNames(TrustKind) {
    return {"trusted", "alwaysWarn", "trustedAlwaysWarn"};
}

constexpr bool isTrusted(TrustKind kind) {
    return kind != TrustKind::alwaysWarn;
}

constexpr bool alwaysWarns(TrustKind kind) {
    return kind != TrustKind::trusted;
}

/// Nothing for false, false: that pair means no rule.
constexpr std::optional<TrustKind> trustKindOf(bool trusted, bool alwaysWarn) {
    if (trusted) {
        return alwaysWarn ? TrustKind::trustedAlwaysWarn : TrustKind::trusted;
    }
    return alwaysWarn ? std::optional(TrustKind::alwaysWarn) : std::nullopt;
}

} // namespace velmoran
