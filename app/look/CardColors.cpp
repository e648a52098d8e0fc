#include "app/look/CardColors.h"

namespace velmoran {

QColor mixed(const QColor& one, const QColor& other, double share) {
    const auto part = [share](float a, float b) {
        return static_cast<float>(static_cast<double>(a) * (1 - share) +
                                  static_cast<double>(b) * share);
    };
    return QColor::fromRgbF(part(one.redF(), other.redF()), part(one.greenF(), other.greenF()),
                            part(one.blueF(), other.blueF()));
}

CardColors::CardColors(const QPalette& palette) {
    const QColor window = palette.color(QPalette::Window);
    const bool isDark = window.lightness() < 128;
    text = palette.color(QPalette::WindowText);
    card = isDark ? mixed(window, Qt::white, 0.05) : palette.color(QPalette::Base);
    line = mixed(card, text, isDark ? 0.2 : 0.16);
    secondary = mixed(text, card, 0.36);
    warning = isDark ? QColor(0xff, 0x69, 0x61) : QColor(0xd7, 0x00, 0x15);
    button = mixed(card, text, isDark ? 0.14 : 0.09);
    prominent = palette.color(QPalette::Highlight);
    prominentText = palette.color(QPalette::HighlightedText);
}

} // namespace velmoran
