#include "app/look/ScreenColors.h"

#include "app/look/CardColors.h"

#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr double textContrast = 4.5;
constexpr double pictureContrast = 3;

double luminance(const QColor& color) {
    const auto linear = [](float part) {
        const auto value = static_cast<double>(part);
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

/// `wanted`, and where that can't be told from `ground`, as much of `text` in it as it takes.
QColor visible(const QColor& wanted, const QColor& ground, const QColor& text, double ratio) {
    for (double share = 0; share < 1; share += 0.05) {
        const auto color = mixed(wanted, text, share);
        if (contrast(color, ground) >= ratio) {
            return color;
        }
    }
    return text;
}

} // namespace

double contrast(const QColor& one, const QColor& other) {
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

ScreenColors::ScreenColors(const QPalette& palette)
    : window(palette.color(QPalette::Active, QPalette::Window)),
      text(palette.color(QPalette::Active, QPalette::WindowText)),
      highlight(palette.color(QPalette::Active, QPalette::Highlight)),
      highlightedText(palette.color(QPalette::Active, QPalette::HighlightedText)) {
    isDark = window.lightness() < 128;
    secondary = visible(mixed(window, text, 0.6), window, text, textContrast);
    line = mixed(window, text, 0.12);
    grid = mixed(window, text, 0.18);
    hover = text;
    hover.setAlphaF(0.06F);
    quiet = mixed(window, text, 0.06);
    stop = QColor(0xF9, 0xD8, 0x4A);
    stopText = QColor(0x14, 0x14, 0x14);
    stopEdge = isDark ? stop : visible(stop, window, Qt::black, pictureContrast);
    const auto role = [&](QRgb light, QRgb dark, double ratio) {
        return visible(QColor(isDark ? dark : light), window, text, ratio);
    };
    camera = role(0x248A3D, 0x30D158, pictureContrast);
    microphone = role(0xB25000, 0xFF9F0A, pictureContrast);
    warning = role(0xD70015, 0xFF453A, textContrast);
}

} // namespace velmoran
