// Text and pictures that stand in windows. All follow a change of palette and font by themselves,
// and show what they are given as plain text, without control characters. Owned by their parents.
#pragma once

#include "app/look/AppPicture.h"
#include "app/look/TextStyle.h"
#include "core/records/AppIdentity.h"

#include <QLabel>
#include <QPixmap>
#include <QString>
#include <QWidget>
#include <functional>

namespace velmoran {

enum class Ink { text, secondary, camera, microphone, speaker, warning, stop };

/// By the widget's palette, and paler where the widget is disabled.
QColor inkColor(Ink ink, const QWidget& widget);

/// Several lines, wrapped at the width that its layout gives, inside a word where that is too long;
/// its height follows. On its own it wants at most 360 points of width.
class TextLabel final : public QLabel {
    Q_OBJECT

public:
    TextLabel(const QString& text, TextStyle style, Ink ink, QWidget* parent);
    void setPlain(const QString& text);
    void setInk(Ink ink);
    /// The last line ends in an ellipsis where that isn't enough. 0, as at first: any number.
    void setMostLines(int lines);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void refreshToolTip();

    TextStyle style_;
    Ink ink_;
    int mostLines_ = 0;
};

/// One line, cut at its end with an ellipsis; the whole is its tool tip then, and always its
/// accessible name. Takes all width that it can get if `grows`, otherwise that of its text.
class LineLabel final : public QWidget {
    Q_OBJECT

public:
    LineLabel(const QString& text, TextStyle style, Ink ink, QWidget* parent, bool grows = true);
    void setPlain(const QString& text);
    void setInk(Ink ink);
    void setAlignment(Qt::Alignment alignment);
    QString text() const { return text_; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QFont ownFont() const;
    double widthOf(const QString& text) const;
    QString cut(int width) const;
    void refreshToolTip();

    QString text_;
    TextStyle style_;
    Ink ink_;
    Qt::Alignment alignment_ = Qt::AlignLeft | Qt::AlignVCenter;
    bool grows_;
};

/// A symbol of the program's set (Symbols.h), tinted. Without a name for screen readers it is
/// hidden from them.
class SymbolLabel final : public QWidget {
    Q_OBJECT

public:
    SymbolLabel(const QString& symbol, int points, Ink ink, QWidget* parent,
                const QString& accessibleName = {});
    void setSymbol(const QString& symbol);
    void setInk(Ink ink);
    QString symbol() const { return symbol_; }
    Ink ink() const { return ink_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString symbol_;
    int points_;
    Ink ink_;
};

/// An app's picture, or a tile with the first letter of its name. Hidden from screen readers, since
/// the name stands beside it.
class AppImage final : public QWidget {
    Q_OBJECT

public:
    AppImage(const AppPicture& picture, const AppIdentity& app, int points, QWidget* parent);
    void setApp(const AppIdentity& app);
    QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    AppPicture picture_;
    AppIdentity app_;
    int points_;
    QPixmap drawn_; ///< null until it is needed
};

/// A line of one device pixel across its parent.
class Hairline final : public QWidget {
    Q_OBJECT

public:
    explicit Hairline(QWidget* parent, Qt::Orientation orientation = Qt::Horizontal);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::Orientation orientation_;
};

} // namespace velmoran
