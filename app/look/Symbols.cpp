#include "app/look/Symbols.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <cmath>

namespace velmoran {

namespace {

// All are drawn in a square of 32 by 32.

void drawCircle(QPainter& painter) {
    painter.drawEllipse(QRectF(4, 4, 24, 24));
}

void drawCheckmark(QPainter& painter) {
    drawCircle(painter);
    painter.drawPolyline(QPolygonF({{10.5, 16.5}, {14.5, 20.5}, {21.5, 11.5}}));
}

void drawExclamationMark(QPainter& painter, const QColor& ink) {
    drawCircle(painter);
    painter.drawLine(QPointF(16, 10), QPointF(16, 17.5));
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawEllipse(QPointF(16, 21.5), 1.6, 1.6);
}

void drawSpeaker(QPainter& painter, const QColor& ink) {
    QPainterPath horn;
    horn.moveTo(5, 12.5);
    horn.lineTo(9.5, 12.5);
    horn.lineTo(15.5, 7.5);
    horn.lineTo(15.5, 24.5);
    horn.lineTo(9.5, 19.5);
    horn.lineTo(5, 19.5);
    horn.closeSubpath();
    painter.fillPath(horn, ink);
    painter.drawPath(horn);
}

void drawWaves(QPainter& painter) {
    // Angles are sixteenths of a degree, from three o'clock counter-clockwise.
    painter.drawArc(QRectF(13, 11, 9, 10), -60 * 16, 120 * 16);
    painter.drawArc(QRectF(12, 7, 15, 18), -60 * 16, 120 * 16);
}

void drawApp(QPainter& painter) {
    painter.drawRoundedRect(QRectF(4, 4, 24, 24), 6, 6);
    painter.drawLine(QPointF(4, 11), QPointF(28, 11));
}

void drawCamera(QPainter& painter) {
    painter.drawRoundedRect(QRectF(4, 9.5, 16, 13), 3, 3);
    painter.drawPolygon(QPolygonF({{22.5, 14}, {28, 10.5}, {28, 21.5}, {22.5, 18}}));
}

void drawMicrophone(QPainter& painter) {
    painter.drawRoundedRect(QRectF(12, 4, 8, 15), 4, 4);
    painter.drawArc(QRectF(8, 8, 16, 15), 180 * 16, 180 * 16);
    painter.drawLine(QPointF(16, 23), QPointF(16, 28));
    painter.drawLine(QPointF(11, 28), QPointF(21, 28));
}

} // namespace

QPixmap symbolPixmap(const QString& name, const QColor& ink, int points, double pixelsPerPoint) {
    const int side = static_cast<int>(std::lround(points * pixelsPerPoint));
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / 32.0, side / 32.0);
    painter.setPen(QPen(ink, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    if (name == "checkmark.circle") {
        drawCheckmark(painter);
    } else if (name == "speaker.wave.2") {
        drawSpeaker(painter, ink);
        drawWaves(painter);
    } else if (name == "speaker.slash") {
        drawSpeaker(painter, ink);
        painter.drawLine(QPointF(5, 5), QPointF(27, 27));
    } else if (name == "xmark") {
        painter.setPen(QPen(ink, 3.6, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(7, 7), QPointF(25, 25));
        painter.drawLine(QPointF(25, 7), QPointF(7, 25));
    } else if (name == "stop.fill") {
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink);
        painter.drawRoundedRect(QRectF(2, 2, 28, 28), 6, 6);
    } else if (name == "app") {
        drawApp(painter);
    } else if (name == "camera") {
        drawCamera(painter);
    } else if (name == "microphone") {
        drawMicrophone(painter);
    } else {
        drawExclamationMark(painter, ink);
    }
    painter.end();
    pixmap.setDevicePixelRatio(pixelsPerPoint);
    return pixmap;
}

} // namespace velmoran
