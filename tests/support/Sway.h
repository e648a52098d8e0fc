// A Wayland desktop without a screen: sway, headless, in a private session.
#pragma once

#include "support/PrivateSession.h"

#include <string>

namespace velmoran::support {

enum class SwayWith {
    nothing,
    x,       ///< it starts an X server for those who want one, and DISPLAY names that
    screens, ///< those that "create_output" makes can be unplugged: it is a window of another sway
};

/// A screen of 1280 x 800, "HEADLESS-1". Throws as the session's own starts do.
void startSway(PrivateSession& session, SwayWith with = SwayWith::nothing);

/// Takes away a screen that was made.
void unplugFromSway(PrivateSession& session, const std::string& screen);

/// What swaymsg answers to these words; empty if it fails.
std::string askSway(PrivateSession& session, const std::vector<std::string>& words);

} // namespace velmoran::support
