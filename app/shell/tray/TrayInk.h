// The colour in which the status icon's template pictures show up on the desktop's bar. Pure but
// for `currentTrayInk`; main thread.
#pragma once

#include <QColor>
#include <optional>
#include <string_view>

namespace velmoran {

/// `foreground` is what the tray itself says of its foreground, nothing where it says nothing.
/// `desktop` is XDG_CURRENT_DESKTOP, names with colons between them: some desktops have a dark bar
/// whatever the colours of their windows are. `windowText` is the text colour of windows.
QColor trayInk(std::optional<QColor> foreground, std::string_view desktop,
               const QColor& windowText);

/// For the tray and the desktop that the program runs on.
QColor currentTrayInk();

} // namespace velmoran
