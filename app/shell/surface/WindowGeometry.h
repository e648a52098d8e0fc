// Where a window without a frame stands, also right after a change of scale. Main thread.
#pragma once

#include <QRect>
#include <QWidget>
#include <QWindow>

namespace velmoran {

/// In points. When the scale changes, a window keeps its dots, and a widget that no window manager
/// tells of it believes in the points that it had.
inline void setWindowGeometry(QWidget& widget, const QRect& frame) {
    widget.setGeometry(frame);
    if (auto* window = widget.windowHandle(); window && window->geometry() != frame) {
        window->setGeometry(frame);
    }
}

} // namespace velmoran
