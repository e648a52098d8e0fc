#include "app/shell/cards/CardButton.h"

#include "app/look/Symbols.h"
#include "core/text/Localizer.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QPainter>

namespace velmoran {

namespace {

constexpr int sidePadding = 14;
constexpr int heightPadding = 5;
constexpr int radius = 6;
constexpr int crossSize = 9;

void drawFace(QPainter& painter, const QRect& rectangle, double corner, const QColor& face) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(face);
    painter.drawRoundedRect(rectangle, corner, corner);
}

void drawFocus(QPainter& painter, const QRect& rectangle, double corner, const QColor& ink) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ink, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rectangle).adjusted(1, 1, -1, -1), corner, corner);
}

/// Enter presses as well as Space.
bool isPressedBy(QAbstractButton& button, const QKeyEvent& event) {
    if (event.key() != Qt::Key_Return && event.key() != Qt::Key_Enter) {
        return false;
    }
    if (!event.isAutoRepeat()) {
        button.click();
    }
    return true;
}

} // namespace

CardButton::CardButton(const QString& title, bool prominent, const CardColors& colors,
                       QWidget* parent)
    : QPushButton(title, parent),
      prominent_(prominent),
      colors_(colors) {
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setProperty("prominent", prominent);
    const QFontMetrics metrics(font());
    setFixedSize(metrics.horizontalAdvance(title) + 2 * sidePadding,
                 metrics.height() + 2 * heightPadding);
}

void CardButton::keyPressEvent(QKeyEvent* event) {
    if (!isPressedBy(*this, *event)) {
        QPushButton::keyPressEvent(event);
    }
}

void CardButton::paintEvent(QPaintEvent*) {
    const QColor face = prominent_ ? colors_.prominent : colors_.button;
    QPainter painter(this);
    drawFace(painter, rect(), radius,
             isDown()       ? mixed(face, colors_.text, 0.22)
             : underMouse() ? mixed(face, prominent_ ? colors_.card : colors_.text, 0.1)
                            : face);
    painter.setPen(prominent_ ? colors_.prominentText : colors_.text);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
    if (hasFocus()) {
        drawFocus(painter, rect(), radius - 1, prominent_ ? colors_.prominentText : colors_.text);
    }
}

CardCloseButton::CardCloseButton(const CardColors& colors, QWidget* parent)
    : QToolButton(parent),
      colors_(colors) {
    const auto name = QString::fromStdString(words().text("Close"));
    setAccessibleName(name);
    setToolTip(name);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setFixedSize(side, side);
}

void CardCloseButton::keyPressEvent(QKeyEvent* event) {
    if (!isPressedBy(*this, *event)) {
        QToolButton::keyPressEvent(event);
    }
}

void CardCloseButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (isDown() || underMouse()) {
        drawFace(painter, rect(), side / 2.0,
                 mixed(colors_.card, colors_.text, isDown() ? 0.22 : 0.12));
    }
    constexpr int from = (side - crossSize) / 2;
    painter.drawPixmap(
        QRect(from, from, crossSize, crossSize),
        symbolPixmap(QStringLiteral("xmark"), colors_.secondary, crossSize, devicePixelRatioF()));
    if (hasFocus()) {
        drawFocus(painter, rect(), side / 2.0, colors_.text);
    }
}

} // namespace velmoran
