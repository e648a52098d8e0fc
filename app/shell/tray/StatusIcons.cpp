#include "app/shell/tray/StatusIcons.h"

#include "core/text/Localizer.h"
#include "core/warnings/UnwatchedWording.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <cmath>

namespace velmoran {

namespace {

const QColor alertRed(0xff, 0x3b, 0x30);

QRectF inset(double by) {
    return QRectF(0, 0, statusIconSize, statusIconSize).adjusted(by, by, -by, -by);
}

/// A ring around a dot: nothing is in use. Dashed while the away watch is on.
void drawRing(QPainter& painter, const QColor& ink, bool dashed) {
    constexpr double width = 1.6;
    QPen pen(ink, width);
    if (dashed) {
        // Qt counts dashes in widths of the pen.
        pen.setCapStyle(Qt::FlatCap);
        pen.setDashPattern({2.4 / width, 2.0 / width});
    }
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(inset(2.5));
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawEllipse(inset(6.5));
}

void drawFilledRing(QPainter& painter, const QColor& ink) {
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    path.addEllipse(inset(1.7));
    path.addEllipse(inset(6.5));
    painter.fillPath(path, ink);
}

/// A bold exclamation mark of ten points, drawn so that it needs no font.
void drawAlert(QPainter& painter) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(alertRed);
    painter.drawEllipse(inset(1.0));
    painter.setBrush(Qt::white);
    QPainterPath stroke;
    stroke.moveTo(7.9, 4);
    stroke.lineTo(10.1, 4);
    stroke.lineTo(9.75, 10);
    stroke.lineTo(8.25, 10);
    stroke.closeSubpath();
    painter.drawPath(stroke);
    painter.drawEllipse(QRectF(7.8, 11.7, 2.4, 2.4));
}

std::string labelOf(StatusIconState state, bool seesAll) {
    switch (state) {
    case StatusIconState::idle:
        return seesAll ? words().text("Velmoran: camera and microphone are off")
                       : words().text("Velmoran: not everything is being watched");
    case StatusIconState::inUse:
        return words().text("Velmoran: camera or microphone in use");
    case StatusIconState::alert:
        return words().text("Velmoran: a warning is waiting");
    case StatusIconState::awayWatch:
        return words().text("Velmoran: Away watch is on");
    }
    return {};
}

} // namespace

QImage statusIconImage(StatusIconState state, const QColor& ink, double pixelsPerPoint) {
    const int side = static_cast<int>(std::lround(statusIconSize * pixelsPerPoint));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / double(statusIconSize), side / double(statusIconSize));
    switch (state) {
    case StatusIconState::idle:
        drawRing(painter, ink, false);
        break;
    case StatusIconState::inUse:
        drawFilledRing(painter, ink);
        break;
    case StatusIconState::alert:
        drawAlert(painter);
        break;
    case StatusIconState::awayWatch:
        drawRing(painter, ink, true);
        break;
    }
    return image;
}

QIcon statusIcon(StatusIconState state, const QColor& ink) {
    QIcon icon;
    for (const int side : {16, 18, 20, 22, 24, 32, 36, 44, 48, 64}) {
        icon.addPixmap(
            QPixmap::fromImage(statusIconImage(state, ink, side / double(statusIconSize))));
    }
    return icon;
}

std::string statusIconLabel(StatusIconState state, const std::vector<Device>& unwatched) {
    auto label = labelOf(state, unwatched.empty());
    for (const auto& reason : UnwatchedWording::reasons(unwatched)) {
        label += '\n' + reason;
    }
    return label;
}

} // namespace velmoran
