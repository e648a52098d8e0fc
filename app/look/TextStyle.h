// The few sizes and weights in which windows write, all derived from the desktop's own font.
#pragma once

#include <QFont>

namespace velmoran {

enum class TextStyle {
    body,
    headline, ///< body, semibold
    title3,   ///< 1.2 of body, semibold
    caption,  ///< 0.85 of body
    tabular,  ///< body, digits of equal width
    captionTabular,
    monospaced,
};

QFont font(TextStyle style, const QFont& body);

} // namespace velmoran
