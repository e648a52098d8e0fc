// A window of another program that has the keyboard, as the desktop's tests need one.
#pragma once

#include "support/PrivateSession.h"

#include <cstdint>
#include <string>

namespace velmoran::support {

/// Starts it as the session's child "editor" under its window manager and gives its id once it has
/// the focus; 0 when it doesn't get it in time. `geometry` as X programs take it.
[[nodiscard]] std::uint32_t startFocusedWindow(PrivateSession& session,
                                               const std::string& geometry = "200x100+100+300");

} // namespace velmoran::support
