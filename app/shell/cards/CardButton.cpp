#include "app/shell/cards/CardButton.h"

#include "app/look/Symbols.h"
#include "core/text/Localizer.h"

#include <QFontMetrics>
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

} // namespace

CardButton::CardButton(const QString& title, bool prominent, const CardColors& colors,
                       QWidget* parent)
    : QPushButton(title, parent),
      prominent_(prominent),
      colors_(colors) {
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    setProperty("prominent", prominent);
    const QFontMetrics metrics(font());
    setFixedSize(metrics.horizontalAdvance(title) + 2 * sidePadding,
                 metrics.height() + 2 * heightPadding);
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
}

CardCloseButton::CardCloseButton(const CardColors& colors, QWidget* parent)
    : QToolButton(parent),
      colors_(colors) {
    const auto name = QString::fromStdString(words().text("Close"));
    setAccessibleName(name);
    setToolTip(name);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    setFixedSize(side, side);
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
}

} // namespace velmoran
