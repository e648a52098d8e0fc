// The colours of a card, taken from the desktop's palette, light or dark. A plain value.
#pragma once

#include <QColor>
#include <QPalette>

namespace velmoran {

/// `one` with that share of `other` mixed in.
QColor mixed(const QColor& one, const QColor& other, double share);

struct CardColors {
    explicit CardColors(const QPalette& palette);

    QColor card;          ///< the card itself
    QColor line;          ///< its edge
    QColor text;          ///< the title
    QColor secondary;     ///< message, time, symbols
    QColor warning;       ///< the symbol of a strong card
    QColor button;        ///< the face of an ordinary button
    QColor prominent;     ///< the face of the default button
    QColor prominentText; ///< what stands on it
};

} // namespace velmoran
