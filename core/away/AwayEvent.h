// One thing that happened to the machine while its screen was locked. Plain values; any thread.
#pragma once

#include "core/base/Fields.h"
#include "core/base/Timestamp.h"
#include "core/base/Uuid.h"
#include "core/records/RawValue.h"
#include "core/records/UsageSession.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// Stored by name; the order is fixed.
enum class AwayEventKind {
    keyboardUsed,
    mouseUsed,
    lidOpened,
    lidClosed,
    lidMoved, ///< detail: two whole numbers of degrees, from and to, with a blank between them
    powerConnected,
    powerRemoved,
    devicePluggedIn, ///< detail: the device's name, if it is known
    wentToSleep,     ///< only in reports of older versions
    wokeUp,
    cameraUsed,    ///< detail: the app's name, if it is known
    microphoneUsed ///< likewise
};

constexpr std::array<std::string_view, 12> caseNames(AwayEventKind) {
    return {"keyboardUsed", "mouseUsed",      "lidOpened",    "lidClosed",
            "lidMoved",     "powerConnected", "powerRemoved", "devicePluggedIn",
            "wentToSleep",  "wokeUp",         "cameraUsed",   "microphoneUsed"};
}

struct AwayEvent {
    Uuid id; ///< made when the event is recorded
    AwayEventKind kind = AwayEventKind::keyboardUsed;
    Timestamp time;
    std::optional<std::string> detail;

    /// In the user's language.
    std::string title() const;

    bool operator==(const AwayEvent&) const = default;
};

/// The detail of a `lidMoved`.
std::string lidMovedDetail(int from, int to);

void visitFields(MaybeConst<AwayEvent> auto& event, auto visit) {
    visit("id", event.id);
    visit("kind", event.kind);
    visit("time", event.time);
    visit("detail", event.detail);
}

} // namespace velmoran
