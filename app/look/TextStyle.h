// The few sizes and weights in which windows write, all derived from the desktop's own font; and
// digits of equal width, for what ticks or stands in columns. Main thread.
#pragma once

#include <QFont>
#include <QPainter>
#include <QRectF>
#include <QString>

namespace velmoran {

enum class TextStyle {
    body,
    headline, ///< body, semibold
    title3,   ///< 1.2 of body, semibold
    caption,  ///< 0.85 of body
    tabular,  ///< body, digits of equal width
    captionTabular,
    monospaced,
};

/// For the tabular styles with the font's own tabular figures, where Qt can ask for them (from
/// 6.7); before that, and with a font that has none, only the functions below make them even.
QFont font(TextStyle style, const QFont& body);

bool isTabular(TextStyle style);

/// The width of one line as drawEven() writes it: each digit as wide as the widest.
double evenWidth(const QFont& font, const QString& text);
/// One line, from the left, each digit in the middle of a place of the same width. The alignment is
/// taken as it is, so a caller who wants it mirrored mirrors it.
void drawEven(QPainter& painter, const QRectF& frame, Qt::Alignment alignment, const QString& text);

} // namespace velmoran
