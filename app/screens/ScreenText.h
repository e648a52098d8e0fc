// Small things that all screens do. Main thread.
#pragma once

#include <QLayout>
#include <QString>
#include <QWidget>
#include <string>

namespace velmoran {

inline QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

/// The accessible name of something whose name ticks. While it has the keyboard it keeps its name,
/// or a screen reader would read it out each second.
inline void setSpokenName(QWidget& widget, const QString& name) {
    if (widget.accessibleName().isEmpty() || !widget.hasFocus()) {
        widget.setAccessibleName(name);
    }
}

/// Lays out also what is hidden, so that the size hint is right before anybody sees it.
inline void layOutNow(QWidget& widget) {
    for (auto* child : widget.children()) {
        if (child->isWidgetType()) {
            layOutNow(*static_cast<QWidget*>(child));
        }
    }
    if (auto* layout = widget.layout()) {
        layout->activate();
    }
    widget.updateGeometry();
}

} // namespace velmoran
