#include "app/replay/RecordKeys.h"

#include "core/records/UsageSession.h"
#include "core/trust/TrustList.h"

namespace velmoran {

namespace {

/// `full` has every key that the record can have, and an element in each array.
void noOtherKeys(const Json& read, const Json& full, const std::string& what) {
    if (read.is_object() && full.is_object()) {
        for (const auto& item : read.items()) {
            const auto known = full.find(item.key());
            if (known == full.end()) {
                throw DecodingError("unknown key \"" + item.key() + "\" in \"" + what + "\"");
            }
            noOtherKeys(item.value(), *known, what + "." + item.key());
        }
    } else if (read.is_array() && full.is_array()) {
        for (const auto& each : read) {
            noOtherKeys(each, full.at(0), what);
        }
    }
}

AppIdentity fullApp() {
    return {
        .id = "a", .name = "A", .bundleID = "a", .path = "/a", .teamID = "T", .unidentified = true};
}

} // namespace

// Written out field by field, so that the compiler complains of a new one that is missing here.
void onlySessionKeys(const Json& json, const std::string& what) {
    static const Json full = UsageSession{
        .id = {},
        .device = Device::camera,
        .app = fullApp(),
        .start = {},
        .end = Timestamp(),
        .outcome = SessionOutcome::endedNormally,
        .warningLevel = WarningLevel::standard,
        .connections = {{.address = "a", .port = 1, .transport = "TCP", .firstSeen = Timestamp()}},
        .observedFromStart = true};
    noOtherKeys(json, full, what);
}

void onlyTrustKeys(const Json& json, const std::string& what) {
    static const Json full = {
        {"rules", Json::array({TrustRule{
                      .app = fullApp(), .device = Device::camera, .kind = TrustKind::trusted}})}};
    noOtherKeys(json, full, what);
}

} // namespace velmoran
