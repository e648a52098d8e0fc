// Where a window without a frame stands, also right after a change of scale. Main thread.
#pragma once

#include <QRect>
#include <QWidget>
#include <QWindow>

namespace velmoran {

/// In points. When the scale changes, a window keeps its dots, and a widget that no window manager
/// tells of it believes in the points that it had. The window first: since Qt 6.8 a widget that is
/// moved to another screen takes the size that its window has on the way.
inline void setWindowGeometry(QWidget& widget, const QRect& frame) {
    if (auto* window = widget.windowHandle(); window && window->geometry() != frame) {
        window->setGeometry(frame);
    }
    widget.setGeometry(frame);
}

} // namespace velmoran
