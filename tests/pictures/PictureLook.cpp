#include "PictureLook.h"

#include "Month.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QProxyStyle>

namespace velmoran::pictures {

namespace {

class StillStyle final : public QProxyStyle {
public:
    StillStyle() : QProxyStyle(QStringLiteral("Fusion")) {}
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_Widget_Animation_Duration
                   ? 0
                   : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

QPalette colours(bool isDark) {
    const QColor text(isDark ? 0xF2F2F2 : 0x1E1E1E);
    const QColor window(isDark ? 0x2A2A2E : 0xF6F5F4);
    const QColor base(isDark ? 0x1F1F22 : 0xFFFFFF);
    QPalette palette(text, QColor(isDark ? 0x3A3A3F : 0xFFFFFF),
                     QColor(isDark ? 0x55555B : 0xFFFFFF), QColor(isDark ? 0x18181B : 0xA8A8A8),
                     QColor(isDark ? 0x3A3A3F : 0xC8C8C8), text, isDark ? text : QColor(0xFFFFFF),
                     base, window);
    palette.setColor(QPalette::Button, QColor(isDark ? 0x3A3A3F : 0xF0EFEE));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::Highlight, QColor(0x3584E4));
    palette.setColor(QPalette::HighlightedText, QColor(0xFFFFFF));
    palette.setColor(QPalette::Link, QColor(isDark ? 0x78AEED : 0x1B6ACB));
    auto faint = text;
    faint.setAlpha(140);
    palette.setColor(QPalette::PlaceholderText, faint);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, faint);
    }
    return palette;
}

/// One of six plain forms, in a square of 100.
QPainterPath form(int kind) {
    QPainterPath path;
    switch (kind) {
    case 0:
        path.addEllipse(26, 26, 48, 48);
        break;
    case 1:
        path.addRoundedRect(24, 34, 52, 32, 10, 10);
        break;
    case 2:
        path.moveTo(36, 26);
        path.lineTo(74, 50);
        path.lineTo(36, 74);
        path.closeSubpath();
        break;
    case 3:
        for (int bar = 0; bar < 3; ++bar) {
            const int height = 22 + 14 * bar;
            path.addRoundedRect(26 + 18 * bar, 74 - height, 12, height, 4, 4);
        }
        break;
    case 4:
        path.addEllipse(24, 24, 52, 52);
        path.addEllipse(38, 38, 24, 24);
        break;
    default:
        path.moveTo(50, 22);
        path.lineTo(78, 50);
        path.lineTo(50, 78);
        path.lineTo(22, 50);
        path.closeSubpath();
    }
    return path;
}

} // namespace

void dress(bool isDark) {
    QApplication::setStyle(new StillStyle);
    QApplication::setPalette(colours(isDark));
}

QIcon drawnIcon(const AppIdentity& app) {
    const auto place = pictureOf(app);
    if (!place) {
        return {};
    }
    constexpr int side = 128;
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / 100.0, side / 100.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv(*place * 67 % 360, 165, 205));
    painter.drawRoundedRect(4, 4, 92, 92, 22, 22);
    painter.setBrush(Qt::white);
    painter.drawPath(form(*place % 6));
    painter.end();
    return pixmap;
}

} // namespace velmoran::pictures
