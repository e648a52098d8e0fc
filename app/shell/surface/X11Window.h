// The few things that a window on X11 needs and Qt doesn't offer. All do nothing, or answer as a
// desktop with a compositor, where the windows aren't X11's.
#pragma once

#include <QColor>
#include <QRegion>
#include <QWidget>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

struct xcb_connection_t;

namespace velmoran {

/// An answer of the X server's library, which is the caller's to free.
template <class Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

/// Qt's own connection to the X server; null where the windows aren't X11's.
xcb_connection_t* x11Connection();

/// Whether the place of the mouse is known wherever it is. A server that stands for X inside of a
/// Wayland desktop (it offers the extension XWAYLAND, or calls its screens so) knows it only over
/// windows of its own, as Qt does on Wayland itself.
bool knowsTheMouse();
/// Whether translucent windows are blended; without that they are black where nothing is drawn.
bool hasCompositor();
/// Whether a tray of the old kind (XEmbed) is there to dock into.
bool hasXembedTray();
/// The colour in which that tray says that pictures show up on it (_NET_SYSTEM_TRAY_COLORS, whose
/// first three of twelve numbers are red, green and blue in 16 bits); nothing if it says none.
std::optional<QColor> xembedTrayForeground();
/// The window that has the keyboard; 0 if none has it, and where the windows aren't X11's.
std::uint32_t x11Focus();
/// Gives it to that one, if it is still there to take it. Nothing happens for 0.
void setX11Focus(std::uint32_t window);
/// The window takes the mouse there only; elsewhere it goes to what is below. `shape` is in points
/// of the window, which must have been created.
void setInputShape(QWidget& window, const QRegion& shape);
/// A rectangle with round corners, as a mask has them.
QRegion roundedRegion(const QRect& rectangle, int radius);

} // namespace velmoran
