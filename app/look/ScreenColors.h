// The colours that windows use, by role, from the desktop's palette. A plain value; made anew when
// the palette changes.
#pragma once

#include <QColor>
#include <QPalette>

namespace velmoran {

/// How well two colours can be told apart, from 1 to 21: the contrast ratio of WCAG 2.
double contrast(const QColor& one, const QColor& other);

/// As in the window that is in front, also for a control that is disabled.
struct ScreenColors {
    explicit ScreenColors(const QPalette& palette);

    bool isDark = false;
    QColor window;
    QColor text;
    QColor secondary;  ///< at least 4.5:1 against the window
    QColor line;       ///< hairlines
    QColor grid;       ///< of charts
    QColor hover;      ///< the wash under the mouse; partly transparent
    QColor quiet;      ///< the ground of tags and notes
    QColor stop;       ///< the one colour of our own
    QColor stopText;   ///< what stands on it
    QColor stopEdge;   ///< around a line in it, where the window is light; else as `stop`
    QColor camera;     ///< on; this and `microphone` at least 3:1 against the window
    QColor microphone; ///< on
    QColor warning;    ///< strong warnings, and the words of what destroys; at least 4.5:1
    QColor highlight;  ///< focus and prominent buttons
    QColor highlightedText;
};

} // namespace velmoran
