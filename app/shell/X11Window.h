// The few things that a window on X11 needs and Qt doesn't offer. All do nothing, or answer as a
// desktop with a compositor, where the windows aren't X11's.
#pragma once

#include <QRegion>
#include <QWidget>

namespace velmoran {

/// Whether translucent windows are blended; without that they are black where nothing is drawn.
bool hasCompositor();
/// Whether a tray of the old kind (XEmbed) is there to dock into.
bool hasXembedTray();
/// The window shows on every desktop. It must have been created.
void setOnAllDesktops(QWidget& window);
/// A rectangle with round corners, as a mask has them.
QRegion roundedRegion(const QRect& rectangle, int radius);

} // namespace velmoran
