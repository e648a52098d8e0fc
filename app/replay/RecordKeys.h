// The keys that a record in a recording may have. A record skips keys that it doesn't know; in a
// recording such a key is an error, also when its value is null. Pure.
#pragma once

#include "core/base/Json.h"

#include <string>

namespace velmoran {

/// The JSON is that of a UsageSession or of a TrustList, as far as its types are concerned. `what`
/// names it in the message. Both throw DecodingError for a key that doesn't belong there.
void onlySessionKeys(const Json& json, const std::string& what);
void onlyTrustKeys(const Json& json, const std::string& what);

} // namespace velmoran
