// The two switches of trust in words, and what a person is asked before one is changed. What the
// questions promise is what WarningPolicy will do. In the language of the process-wide words. Pure;
// any thread.
#pragma once

#include "app/contents/TrustChoice.h"

#include <string>

namespace velmoran::TrustWording {

/// A switch: what it says under the mouse, and to a screen reader.
struct Switch {
    std::string help;
    std::string label;

    bool operator==(const Switch&) const = default;
};

Switch trustSwitch(const TrustChoice& choice);
Switch warnSwitch(const TrustChoice& choice);

/// What is asked before the change, and the button that confirms it.
struct Confirmation {
    std::string title;
    std::string message;
    std::string confirm;

    bool operator==(const Confirmation&) const = default;
};

Confirmation confirmation(TrustChange change, const TrustChoice& choice);

} // namespace velmoran::TrustWording
