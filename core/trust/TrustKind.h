// What the user has decided about one app and one device: that its use needs no notice, that it
// must always be told, or both. No decision at all is the absence of a rule. A plain value; any
// thread.
#pragma once

#include "core/base/Json.h"

#include <optional>
#include <string_view>

namespace velmoran {

enum class TrustKind { trusted, alwaysWarn, trustedAlwaysWarn };

bool isTrusted(TrustKind kind);
bool alwaysWarns(TrustKind kind);
/// Nothing for false, false: that pair means no rule.
std::optional<TrustKind> trustKindOf(bool trusted, bool alwaysWarn);

/// The case name: the stored and exchanged form.
std::string_view rawValue(TrustKind kind);
std::optional<TrustKind> trustKindFrom(std::string_view rawValue);

void to_json(Json& json, TrustKind kind);
void from_json(const Json& json, TrustKind& kind);

} // namespace velmoran
