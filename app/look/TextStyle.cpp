#include "app/look/TextStyle.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <algorithm>

namespace velmoran {

namespace {

constexpr double titleScale = 1.2;
constexpr double captionScale = 0.85;

QFont scaled(QFont font, double factor) {
    if (font.pointSizeF() > 0) {
        font.setPointSizeF(font.pointSizeF() * factor);
    } else {
        font.setPixelSize(qRound(font.pixelSize() * factor));
    }
    return font;
}

QFont semibold(QFont font) {
    font.setWeight(QFont::DemiBold);
    return font;
}

QFont withTabularFigures(QFont font) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    font.setFeature("tnum", 1);
#endif
    return font;
}

/// 0 if they are as wide as each other already.
double digitWidth(const QFontMetricsF& metrics) {
    double narrowest = metrics.horizontalAdvance(QLatin1Char('0'));
    double widest = narrowest;
    for (char digit = '1'; digit <= '9'; ++digit) {
        const auto width = metrics.horizontalAdvance(QLatin1Char(digit));
        narrowest = std::min(narrowest, width);
        widest = std::max(widest, width);
    }
    return widest - narrowest < 0.01 ? 0 : widest;
}

bool isDigit(QChar c) {
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

/// Calls `each` with every digit, and with what stands between two of them, and its width.
double walk(const QFontMetricsF& metrics, double digit, const QString& text, auto each) {
    double x = 0;
    for (qsizetype at = 0; at < text.size();) {
        qsizetype end = at + 1;
        while (!isDigit(text[at]) && end < text.size() && !isDigit(text[end])) {
            ++end;
        }
        const auto part = text.mid(at, end - at);
        const auto own = metrics.horizontalAdvance(part);
        const auto width = isDigit(text[at]) ? digit : own;
        each(part, x + (width - own) / 2);
        x += width;
        at = end;
    }
    return x;
}

} // namespace

QFont font(TextStyle style, const QFont& body) {
    switch (style) {
    case TextStyle::body:
        return body;
    case TextStyle::headline:
        return semibold(body);
    case TextStyle::title3:
        return semibold(scaled(body, titleScale));
    case TextStyle::caption:
        return scaled(body, captionScale);
    case TextStyle::tabular:
        return withTabularFigures(body);
    case TextStyle::captionTabular:
        return withTabularFigures(scaled(body, captionScale));
    case TextStyle::monospaced: {
        auto result = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        if (body.pointSizeF() > 0) {
            result.setPointSizeF(body.pointSizeF());
        } else {
            result.setPixelSize(body.pixelSize());
        }
        return result;
    }
    }
    return body;
}

bool isTabular(TextStyle style) {
    return style == TextStyle::tabular || style == TextStyle::captionTabular;
}

double evenWidth(const QFont& font, const QString& text) {
    const QFontMetricsF metrics(font);
    const auto digit = digitWidth(metrics);
    return digit == 0 ? metrics.horizontalAdvance(text)
                      : walk(metrics, digit, text, [](const QString&, double) {});
}

void drawEven(QPainter& painter, const QRectF& frame, Qt::Alignment alignment,
              const QString& text) {
    const QFontMetricsF metrics(painter.font(), painter.device());
    const auto digit = digitWidth(metrics);
    if (digit == 0) {
        painter.drawText(
            frame, static_cast<int>(alignment | Qt::AlignAbsolute) | Qt::TextSingleLine, text);
        return;
    }
    const auto free = frame.width() - evenWidth(painter.font(), text);
    const auto left = frame.left() + (alignment & Qt::AlignRight     ? free
                                      : alignment & Qt::AlignHCenter ? free / 2
                                                                     : 0);
    const auto above = frame.height() - metrics.height();
    const auto base = frame.top() + metrics.ascent() +
                      (alignment & Qt::AlignBottom    ? above
                       : alignment & Qt::AlignVCenter ? above / 2
                                                      : 0);
    walk(metrics, digit, text,
         [&](const QString& part, double x) { painter.drawText(QPointF(left + x, base), part); });
}

} // namespace velmoran
