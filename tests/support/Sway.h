// A Wayland desktop without a screen: sway, headless, in a private session.
#pragma once

#include "support/PrivateSession.h"

#include <string>

namespace velmoran::support {

/// A screen of 1280 x 800, "HEADLESS-1". Where `withX`, sway starts an X server for those who want
/// one, and DISPLAY names it. Throws as the session's own starts do.
void startSway(PrivateSession& session, bool withX = false);

/// What swaymsg answers to these words; empty if it fails.
std::string askSway(PrivateSession& session, const std::vector<std::string>& words);

} // namespace velmoran::support
