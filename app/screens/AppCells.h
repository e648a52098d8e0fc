// How a line of a long list shows an app: its picture, its name and, for a part of the system, a
// symbol that says so when it is clicked. What the machine answers about an app is asked once, not
// at each drawing. Owned by its list; main thread.
#pragma once

#include "app/screens/ScreenContext.h"

#include <QColor>
#include <QEvent>
#include <QFont>
#include <QPalette>
#include <QPixmap>
#include <QPointer>
#include <QRect>
#include <QWidget>
#include <string>
#include <unordered_map>

namespace velmoran {

/// Somebody's text as it may stand in one line: without characters that do anything, and no longer
/// than any line can be.
QString lineText(const std::string& text);

/// Whether what was drawn may look otherwise after that change of a widget.
bool changesCells(const QEvent& event);

class AppCells {
public:
    explicit AppCells(const ScreenContext& context) : context_(context) {}

    struct Place {
        QRect frame; ///< the whole cell
        int pictureSide = 20;
        int gap = 6;
    };

    /// What a drawing needs beside the place.
    struct Style {
        QFont font;
        QColor text;
        QColor secondary;
        QPalette palette;
    };

    void paint(QPainter& painter, const Place& place, const AppIdentity& app, const Style& style);
    /// What all of it takes, the name uncut.
    int widthOf(const Place& place, const AppIdentity& app, const QFont& font);
    /// Where the symbol is that says what a part of the system does; empty for any other app.
    QRect infoFrame(const Place& place, const AppIdentity& app, const QFont& font);
    /// The whole name, if the cell cuts it.
    QString cutName(const Place& place, const AppIdentity& app, const QFont& font);
    /// Says at that place of a widget what the app does for the system, if it is a part of it.
    void explain(const AppIdentity& app, QWidget* in, const QRect& at);
    /// The tip at that place of the cell; empty for none.
    QString help(const Place& place, const AppIdentity& app, const QFont& font, QPoint at);
    /// What a screen reader calls the symbol `infoFrame` says the place of; empty without one.
    QString infoName(const AppIdentity& app);
    /// Whether a click there is one on the symbol `info`.
    static bool isOnInfo(const QRect& info, QPoint at) {
        return !info.isEmpty() && info.adjusted(-4, -4, 4, 4).contains(at);
    }
    /// What was drawn may look otherwise: another palette, scale or icon theme.
    void forget() { known_.clear(); }

private:
    struct Known {
        QPixmap picture;
        int side = 0; ///< in points
        double scale = 0;
        bool isSystem = false;
    };

    const Known& known(const AppIdentity& app);
    const QPixmap& picture(const AppIdentity& app, int side, double scale, const QPalette& palette);
    int nameWidth(const Place& place, const AppIdentity& app, const QFont& font);

    ScreenContext context_;
    QPointer<QWidget> anchor_; ///< what an explanation hangs at
    std::unordered_map<std::string, Known> known_;
};

} // namespace velmoran
