#include "app/shell/floating/FloatingStopView.h"

#include "app/look/CardColors.h"
#include "app/look/Symbols.h"
#include "app/shell/surface/X11Window.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr int symbolSize = 12;
constexpr int labelGap =
    1; ///< between the symbol's square, which is as wide as high, and the words
constexpr int labelEnd = 17;

/// A blurred shadow. From the outside in, each layer adding what is missing to the darkness at its
/// place.
void drawBlurred(QPainter& painter, const QRectF& shape, double blur, double opacity) {
    double dark = 0;
    for (double distance = 2.2 * blur; distance >= 0; distance -= 0.5) {
        // What a blur leaves of the darkness so far outside the shape's own edge.
        const double wanted = opacity * 0.5 * std::erfc(distance / (blur * std::sqrt(2.0)));
        const double added = (wanted - dark) / (1 - dark);
        if (added * 255 < 1) {
            continue; // too little for a colour to hold
        }
        dark = wanted;
        const auto layer = shape.adjusted(-distance, -distance, distance, distance);
        painter.setBrush(QColor::fromRgbF(0, 0, 0, static_cast<float>(added)));
        painter.drawRoundedRect(layer, layer.height() / 2, layer.height() / 2);
    }
}

} // namespace

FloatingStopView::FloatingStopView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void FloatingStopView::setContent(const Content& content) {
    if (content != content_) {
        content_ = content;
        update();
    }
}

QFont FloatingStopView::labelFont() const {
    QFont result = font();
    result.setWeight(QFont::DemiBold);
    return result;
}

QSize FloatingStopView::fittingSize(const Content& content) const {
    const QFontMetrics metrics(labelFont());
    const int height = std::max(smallest, metrics.height() + 16);
    const int width = content.expanded
                          ? height + labelGap + metrics.horizontalAdvance(content.label) + labelEnd
                          : height;
    return {width + 2 * margin, height + 2 * margin};
}

QRect FloatingStopView::capsule() const {
    return rect().adjusted(margin, margin, -margin, -margin);
}

QRegion FloatingStopView::shape() const {
    return roundedRegion(capsule(), capsule().height() / 2);
}

void FloatingStopView::drawFace(QPainter& painter) const {
    const CardColors colors(palette());
    const auto body = capsule();
    if (content_.cornersAreCut) {
        painter.fillRect(body, colors.card);
    }
    painter.setPen(QPen(colors.line, 1));
    painter.setBrush(colors.card);
    const auto edge = QRectF(body).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(edge, edge.height() / 2, edge.height() / 2);

    const int side = body.height();
    const QRect icon(content_.iconAtRight ? body.right() + 1 - side : body.left(), body.top(), side,
                     side);
    const auto symbol =
        symbolPixmap(QStringLiteral("stop.fill"), colors.warning, symbolSize, devicePixelRatioF());
    painter.drawPixmap(icon.left() + (side - symbolSize) / 2, icon.top() + (side - symbolSize) / 2,
                       symbol);
    if (content_.expanded) {
        painter.setFont(labelFont());
        painter.setPen(colors.text);
        const auto words = content_.iconAtRight ? body.adjusted(labelEnd, 0, -side - labelGap, 0)
                                                : body.adjusted(side + labelGap, 0, -labelEnd, 0);
        painter.drawText(words, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                         content_.label);
    }
}

void FloatingStopView::paintEvent(QPaintEvent*) {
    // Painted aside, so that dimming lets the desktop through and not the button's own shadow.
    QPixmap picture(size() * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter aside(&picture);
    aside.setRenderHint(QPainter::Antialiasing);
    if (!content_.cornersAreCut) {
        aside.setPen(Qt::NoPen);
        drawBlurred(aside, QRectF(capsule()).translated(0, 2.5), 4.2, 0.28);
        drawBlurred(aside, QRectF(capsule()).translated(0, 0.5), 1.2, 0.12);
    }
    drawFace(aside);
    aside.end();

    QPainter painter(this);
    if (content_.stopping) {
        if (content_.cornersAreCut) {
            // Nothing shines through: what is dimmed fades into the card's own colour.
            painter.fillRect(rect(), CardColors(palette()).card);
        }
        painter.setOpacity(dimmed);
    }
    painter.drawPixmap(0, 0, picture);
}

} // namespace velmoran
