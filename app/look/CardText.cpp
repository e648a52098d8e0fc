#include "app/look/CardText.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QTextDocument>
#include <QTextOption>
#include <cmath>

namespace velmoran {

namespace {

bool turnsDirection(char16_t c) {
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0x200E ||
           c == 0x200F || c == 0x061C;
}

/// What becomes of the rest of a text in its last line: its end stays, which says what happened,
/// and the ellipsis stands for what is before it, as the end of a long name.
QString cutRest(QString rest, const QFont& font, int width) {
    const QFontMetricsF metrics(font);
    if (const auto end = rest.indexOf(QChar(QChar::LineSeparator)); end >= 0) {
        return metrics.elidedText(rest.left(end) + QChar(0x2026), Qt::ElideRight, width);
    }
    for (auto at = rest.indexOf(QLatin1Char(' ')); at >= 0;
         at = rest.indexOf(QLatin1Char(' '), at + 1)) {
        const auto tail = rest.mid(at);
        if (const auto tailWidth = metrics.horizontalAdvance(tail); tailWidth <= 0.75 * width) {
            return metrics.elidedText(rest.left(at) + QChar(0x2026), Qt::ElideRight,
                                      width - tailWidth) +
                   tail;
        }
    }
    return metrics.elidedText(rest, Qt::ElideMiddle, width);
}

/// Lays out lines of that width one below the other; stops after `mostLines`. Gives the height.
qreal layOut(QTextLayout& layout, int width, int mostLines) {
    qreal height = 0;
    layout.beginLayout();
    while (layout.lineCount() < mostLines) {
        auto line = layout.createLine();
        if (!line.isValid()) {
            break;
        }
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
    return height;
}

} // namespace

QString harmlessText(const QString& text) {
    QString result;
    result.reserve(text.size());
    for (const auto c : text) {
        if (turnsDirection(c.unicode())) {
            continue;
        }
        const bool isControl = c.category() == QChar::Other_Control;
        result += isControl && c != QLatin1Char('\n') ? QLatin1Char(' ') : c;
    }
    return result;
}

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? QStringLiteral("<span>%1</span>").arg(text.toHtmlEscaped())
                                     : text;
}

CardText::CardText(const QString& text, const QFont& font, const QColor& color, int width,
                   int mostLines, QWidget* parent)
    : QLabel(text, parent),
      color_(color) {
    setTextFormat(Qt::PlainText); // for whoever reads the screen aloud; the drawing is our own
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    // The direction of our own language, whatever the script of a name that the text begins with.
    option.setTextDirection(QGuiApplication::layoutDirection());
    layout_.setFont(font);
    layout_.setTextOption(option);
    QString shown = text;
    layout_.setText(shown.replace(QLatin1Char('\n'), QChar::LineSeparator));
    auto height = layOut(layout_, width, mostLines);
    const auto last = layout_.lineAt(layout_.lineCount() - 1);
    if (layout_.lineCount() > 0 && last.textStart() + last.textLength() < shown.size()) {
        layout_.setText(shown.left(last.textStart()) +
                        cutRest(shown.mid(last.textStart()), font, width));
        height = layOut(layout_, width, mostLines);
        setToolTip(plainToolTip(text));
    }
    setFixedSize(width, static_cast<int>(std::ceil(height)));
}

void CardText::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(color_);
    layout_.draw(&painter, QPointF(0, 0));
}

} // namespace velmoran
