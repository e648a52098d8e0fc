// Buttons as a screen reader finds them, by their names.
#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QWidget>
#include <string>

namespace velmoran::support {

/// The first one below `parent`; null if there is none.
inline QAbstractButton* buttonNamed(const QWidget& parent, const std::string& name) {
    for (auto* each : parent.findChildren<QAbstractButton*>()) {
        if (QAccessible::queryAccessibleInterface(each)->text(QAccessible::Name) ==
            QString::fromStdString(name)) {
            return each;
        }
    }
    return nullptr;
}

/// Where a person would press it, on the screen.
inline QPoint centerOf(const QWidget& widget) {
    return widget.mapToGlobal(widget.rect().center());
}

} // namespace velmoran::support
