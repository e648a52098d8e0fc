// Presses and clicks on controls as a person makes them, and what a screen reader is told of them.
#pragma once

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWidget>
#include <string>

namespace velmoran::testing {

inline void press(QWidget& widget, int key, Qt::KeyboardModifiers modifiers = {}) {
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers);
        QApplication::sendEvent(&widget, &event);
    }
}

inline void click(QWidget& widget, const QPoint& at) {
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const auto buttons = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QMouseEvent event(type, QPointF(at), QPointF(widget.mapToGlobal(at)), Qt::LeftButton,
                          buttons, Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
    }
}

inline void click(QWidget& widget) {
    click(widget, widget.rect().center());
}

/// In front, and laid out.
inline void showWindow(QWidget& window) {
    window.show();
    window.activateWindow();
    QApplication::processEvents();
}

inline QAccessible::Role roleOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->role();
}

inline std::string nameOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name).toStdString();
}

inline QAccessible::State stateOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->state();
}

/// How many pixels of a picture are nearly of that colour.
inline int pixelsOf(const QImage& image, const QColor& color) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const auto each = image.pixelColor(x, y);
            count += std::abs(each.red() - color.red()) < 12 &&
                     std::abs(each.green() - color.green()) < 12 &&
                     std::abs(each.blue() - color.blue()) < 12;
        }
    }
    return count;
}

} // namespace velmoran::testing
