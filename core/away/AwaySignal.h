// What the machine tells while nobody sits at it. Plain values; any thread.
#pragma once

#include "core/records/RawValue.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

struct AwaySignal {
    enum class Kind {
        lidMoved,
        devicePluggedIn,
        keyboardUsed,
        mouseUsed,
        lidOpened,
        lidClosed,
        powerConnected,
        powerRemoved,
        wentToSleep,
        wokeUp
    };

    Kind kind = Kind::keyboardUsed;
    int from = 0;                    ///< degrees; of `lidMoved` alone
    int to = 0;                      ///< likewise
    std::optional<std::string> name; ///< of `devicePluggedIn` alone, if it could be read

    bool operator==(const AwaySignal&) const = default;
};

constexpr std::array<std::string_view, 10> caseNames(AwaySignal::Kind) {
    return {"lidMoved",  "devicePluggedIn", "keyboardUsed", "mouseUsed",   "lidOpened",
            "lidClosed", "powerConnected",  "powerRemoved", "wentToSleep", "wokeUp"};
}

} // namespace velmoran
