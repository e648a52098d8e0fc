#include "app/screens/ChartSwatch.h"

#include <QPainter>
#include <algorithm>

namespace velmoran {

ChartSwatch::ChartSwatch(bool isCamera, const QSize& size, QWidget* parent)
    : QWidget(parent),
      isCamera_(isCamera) {
    setFixedSize(size);
}

void ChartSwatch::paintEvent(QPaintEvent*) {
    const ScreenColors colors(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto edge = chartEdge(colors, isCamera_);
    const auto fill = chartColor(colors, isCamera_);
    const double line = edge == fill ? 0 : 0.5;
    painter.setPen(line > 0 ? QPen(edge, 2 * line) : QPen(Qt::NoPen));
    painter.setBrush(fill);
    const double radius = std::min(width(), height()) / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(line, line, -line, -line), radius, radius);
}

} // namespace velmoran
