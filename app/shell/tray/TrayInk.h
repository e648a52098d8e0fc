// The colour in which the status icon's template pictures show up on the desktop's bar. Pure but
// for `currentTrayInk`; main thread.
#pragma once

#include "app/shell/tray/StatusIcons.h"

#include <QColor>
#include <optional>
#include <string_view>

namespace velmoran {

/// The ink, changed to black or white where that is needed, with an outline so that one of both has
/// a contrast of at least 3 on every ground. Where the ink is the right one the outline isn't seen.
IconInk outlined(const QColor& ink);

/// `foreground` is what the tray itself says of its foreground, nothing where it says nothing.
/// `desktop` is XDG_CURRENT_DESKTOP, names with colons between them: some desktops have a dark bar
/// whatever the colours of their windows are. `windowText` is the text colour of windows.
QColor trayInk(std::optional<QColor> foreground, std::string_view desktop,
               const QColor& windowText);

/// For the tray and the desktop that the program runs on.
IconInk currentTrayInk(std::string_view desktop);

} // namespace velmoran
