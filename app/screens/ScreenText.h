// Small things that all screens do with text. Main thread.
#pragma once

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

} // namespace velmoran
